#include <sys/stat.h>

#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "charset/LibraryNarrow.h"
#include "engine/CCTarnyOutlookEngneApp.h"
#include "localstore/LocalProvider.h"
#include "platform/MemoryPages.h"

int main(int argc, char** argv) {
  umask(077);  // ledger, logs and work files are the user's alone
  (void)std::signal(SIGPIPE, SIG_IGN);
  (void)std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow fails like one on a full disk
  platform::KeepFreedMemory();
  mail::installLibraryNarrow();
  const localstore::Provider objStores;
  CCTarnyOutlookEngneApp theApp;
  try {
    return theApp.InitInstance(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
  } catch (const std::exception& objError) {
    std::cerr << "TarnyOutlookEngine: " << objError.what() << "\n";
    return 1;
  }
}
