#include "client/run/EngineOptions.h"

#include "client/run/LocalMailbox.h"
#include "client/run/Target.h"
#include "engine/CommandLine.h"
#include "ews/Settings.h"
#include "platform/Paths.h"

namespace client {

std::vector<std::string> EngineOptions(const EngineSetup& setup, const Target& target,
                                       const LocalMailbox* local) {
  std::vector<std::string> arguments = {"--token-cache"};
  const auto add = [&](const char* name, const std::string& value) {
    if (!value.empty()) arguments.insert(arguments.end(), {name, value});
  };
  if (!setup.insecure) arguments.push_back("--verify-certificates");
  if (!setup.asIs) arguments.push_back("--safe");
  if (local) {
    add("--autodiscover-url", local->AutodiscoverUrl());
    add("--ca-file", local->CertificateFile());
    add("--trust-host", "127.0.0.1");
  } else if (target.Store()) {
    add("--store", platform::ToWindowsPath(target.StoreFile()).ToUtf8());
  } else {
    if (target.address != kOffice365) add("--ews-url", target.address);
    add("--autodiscover-url", setup.autodiscoverUrl);
    add("--ca-file", setup.caFile);
  }
  add("--authority-url", setup.authorityUrl);
  add("--proxy", setup.proxy);
  add("--patience", std::to_string(setup.patience));
  for (const std::string& host : setup.trustHosts) add("--trust-host", host);
  return arguments;
}

std::string AdoptEngineOptions(const std::vector<std::string>& options, const std::string& title) {
  // The options stand in front of the marker here as in the engine.
  std::vector<std::string> arguments = options;
  arguments.push_back(title);
  return ReadCommandLine(arguments, ews::Settings()).strError;
}

}  // namespace client
