#include <filesystem>
#include <iostream>
#include <memory>

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/commands/MigrateOptions.h"
#include "client/commands/Secret.h"
#include "client/commands/TargetLogon.h"
#include "client/show/Console.h"
#include "client/show/JsonText.h"
#include "client/show/OutputText.h"
#include "ews/Connection.h"
#include "ews/Settings.h"
#include "ews/Url.h"

namespace client {
namespace {

// A person waits for the list.
constexpr std::uint32_t kPatience = 30;

struct DirectoryOptions {
  std::string to;
  std::string tenant;
  std::string clientId;
  std::string secretFile;
  std::string authorityUrl;
  std::string graphUrl;
  std::string caFile;
  std::string proxy;
  std::uint32_t patience = kPatience;
  bool insecure = false;
  bool json = false;
};

void Describe(CLI::App& app, DirectoryOptions& options) {
  CLI::Option* const to =
      app.add_option("--to", options.to,
                     "local:DIR, the directory of the mailbox in DIR; a tenant's otherwise")
          ->type_name("local:DIR");
  const auto ofTenant = [&](const char* name, std::string& value, const char* help) {
    app.add_option(name, value, help)->excludes(to);
  };
  ofTenant("--tenant", options.tenant, "Tenant id");
  ofTenant("--client", options.clientId, "Id of the registered application");
  ofTenant("--client-secret-file", options.secretFile,
           "File whose first line is the application's secret; asked for otherwise");
  app.add_flag("--json", options.json, "As JSON");
  CLI::Option* const insecure =
      app.add_flag("--insecure", options.insecure, "Accept every server certificate")->excludes(to);
  app.add_option("--ca-file", options.caFile, "Certificates to trust, PEM")
      ->excludes(insecure)
      ->excludes(to);
  ofTenant("--authority-url", options.authorityUrl, "Where tokens are asked for");
  ofTenant("--graph-url", options.graphUrl, "Where the directory is asked");
  ofTenant("--proxy", options.proxy,
           "The way to the server, http://HOST:PORT; none is taken otherwise");
  app.add_option("--patience", options.patience,
                 "Seconds to wait for a server that does not answer; 0 for none")
      ->check(CLI::Range(0, 604800))
      ->capture_default_str();
}

// Makes the settings of our requests those of the command line.
void Adopt(const DirectoryOptions& options, Console& console) {
  const std::pair<const char*, const std::string&> urls[] = {
      {"--authority-url", options.authorityUrl},
      {"--graph-url", options.graphUrl},
      {"--proxy", options.proxy}};
  for (const auto& [name, url] : urls) {
    if (!url.empty() && !ews::ParseUrl(url)) {
      throw UsageError(fmt::format("{} wants http://… or https://… without a user name", name));
    }
  }
  ews::ServiceSettings& settings = ews::Settings();
  const auto take = [](CString& setting, const std::string& value) {
    if (!value.empty()) setting = CString::FromUtf8(value);
  };
  take(settings.strAuthorityUrl, options.authorityUrl);
  take(settings.strGraphUrl, options.graphUrl);
  take(settings.strCaFile, options.caFile);
  take(settings.strProxy, options.proxy);
  settings.bVerifyCertificates = !options.insecure;
  settings.bSafe = true;
  settings.nPatience = std::chrono::seconds(options.patience);
  settings.fnTellWait = [&console](const std::string& line) { console.Say(line); };
}

void RequireTenant(const DirectoryOptions& options) {
  if (options.tenant.empty()) throw UsageError("--tenant is required, or --to local:DIR");
  if (options.clientId.empty()) throw UsageError("--client is required");
}

// The mailbox of our own whose directory is meant, served, and everything that leads there; null
// for a tenant's. Throws UsageError, RunError.
std::unique_ptr<LocalMailbox> ServeLocal(DirectoryOptions& options, const Say& say) {
  if (options.to.empty()) return nullptr;
  Target target;
  target.address = options.to;
  if (!target.Local() || !std::filesystem::is_directory(target.LocalFolder())) {
    throw UsageError("--to wants local:DIR with a folder that is there");
  }
  auto local = ServeIfLocal(target, say);
  options.tenant = options.clientId = "local";
  options.authorityUrl = options.graphUrl = local->Url();
  options.caFile = local->CertificateFile();
  return local;
}

std::vector<ews::DirectoryEntry> Ask(ews::DirectoryList list, const DirectoryOptions& options) {
  const std::string secret =
      options.to.empty()
          ? ReadSecret(options.secretFile, "Secret of the application", "--client-secret-file")
          : "local";  // it is open
  return ConnectionDLL::ListDirectory(list, CString::FromUtf8(options.tenant),
                                      CString::FromUtf8(options.clientId),
                                      CString::FromUtf8(secret));
}

std::string AsText(const std::vector<ews::DirectoryEntry>& entries) {
  std::string text;
  for (const ews::DirectoryEntry& entry : entries) {
    text += OneLine(entry.strName) + "\t" + OneLine(entry.strAddress) + "\n";
  }
  return text;
}

std::string AsJson(const std::vector<ews::DirectoryEntry>& entries) {
  nlohmann::json rows = nlohmann::json::array();
  for (const ews::DirectoryEntry& entry : entries) {
    rows.push_back({{"name", entry.strName}, {"address", entry.strAddress}});
  }
  return JsonText(rows);
}

int ListDirectory(ews::DirectoryList list, const char* name, const char* help,
                  const Arguments& arguments) {
  DirectoryOptions options;
  CLI::App app(help, name);
  Describe(app, options);
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  Console console;
  try {
    const std::unique_ptr<LocalMailbox> local =
        ServeLocal(options, [&console](const std::string& line) { console.Say(line); });
    RequireTenant(options);
    Adopt(options, console);
    const std::vector<ews::DirectoryEntry> entries = Ask(list, options);
    std::cout << (options.json ? AsJson(entries) : AsText(entries));
    return kExitDone;
  } catch (const UsageError& error) {
    console.Say(fmt::format("{}: {}", name, error.what()));
  } catch (const SecretError& error) {
    console.Say(fmt::format("{}: {}", name, error.what()));
  }
  return kExitUsage;
}

}  // namespace

int RunUsers(const Arguments& arguments) {
  return ListDirectory(ews::DirectoryList::kUsers, "tarny users",
                       "Lists the users of a tenant's directory, a line NAME<TAB>ADDRESS each. The "
                       "address is that of the mailbox, or what a user without one logs on with.",
                       arguments);
}

int RunGroups(const Arguments& arguments) {
  return ListDirectory(ews::DirectoryList::kGroups, "tarny groups",
                       "Lists the groups of a tenant's directory that have a mailbox, a line "
                       "NAME<TAB>ADDRESS each, for --target group --mailbox ADDRESS.",
                       arguments);
}

}  // namespace client
