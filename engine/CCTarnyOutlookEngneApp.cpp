#include "engine/CCTarnyOutlookEngneApp.h"

#include <cerrno>
#include <iostream>
#include <system_error>

#include "engine/CCTarnyOutlookEngneDlg.h"
#include "engine/CommandLine.h"
#include "ews/Settings.h"
#include "platform/EndSignals.h"

namespace {

// Tells the waits of an outage, and cuts them short when the process is to end.
class WaitHooks {
 public:
  explicit WaitHooks(CCTarnyOutlookEngneDlg& objDialog) {
    ews::Settings().fnTellWait = [&objDialog](const std::string& strLine) {
      std::cerr << strLine + "\n";
      objDialog.Log(CString::FromUtf8(strLine));
    };
    ews::Settings().fnStopAsked = &platform::EndSignals::Came;
  }
  ~WaitHooks() {
    ews::Settings().fnTellWait = nullptr;
    ews::Settings().fnStopAsked = nullptr;
  }
  WaitHooks(const WaitHooks&) = delete;
  WaitHooks& operator=(const WaitHooks&) = delete;
};

}  // namespace

int CCTarnyOutlookEngneApp::InitInstance(std::span<const std::string> arrArguments) {
  CCTarnyOutlookEngneDlg objDialog;  // opens the ledger, whatever the command line says
  const CommandLine objLine = ReadCommandLine(arrArguments, ews::Settings());
  if (!objLine.strError.empty()) {
    std::cerr << "TarnyOutlookEngine: " << objLine.strError << "\n";
    return 2;
  }
  if (!objLine.bMarker) return 0;
  const WaitHooks objHooks(objDialog);
  try {
    objDialog.DoModal(objLine.strTitle);
  } catch (const std::system_error& objError) {
    if (objError.code() != std::errc::address_in_use) throw;
    std::cerr << "TarnyOutlookEngine: an engine with this title is running already\n";
    return 1;
  }
  return 0;
}
