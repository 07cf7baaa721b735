#include "engine/CCTarnyOutlookEngneApp.h"

#include <cerrno>
#include <iostream>
#include <system_error>

#include "engine/CCTarnyOutlookEngneDlg.h"
#include "engine/CommandLine.h"
#include "ews/Settings.h"

int CCTarnyOutlookEngneApp::InitInstance(std::span<const std::string> arrArguments) {
  CCTarnyOutlookEngneDlg objDialog;  // opens the ledger, whatever the command line says
  const CommandLine objLine = ReadCommandLine(arrArguments, ews::Settings());
  if (!objLine.strError.empty()) {
    std::cerr << "TarnyOutlookEngine: " << objLine.strError << "\n";
    return 2;
  }
  if (!objLine.bMarker) return 0;
  try {
    objDialog.DoModal(objLine.strTitle);
  } catch (const std::system_error& objError) {
    if (objError.code() != std::errc::address_in_use) throw;
    std::cerr << "TarnyOutlookEngine: an engine with this title is running already\n";
    return 1;
  }
  return 0;
}
