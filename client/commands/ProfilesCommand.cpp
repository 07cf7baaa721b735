#include <algorithm>
#include <filesystem>
#include <iostream>

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/run/RunFolder.h"
#include "client/run/RunMessages.h"
#include "client/show/JsonText.h"
#include "client/show/OutputText.h"
#include "platform/Paths.h"
#include "target/RdoWrappers.h"

namespace client {
namespace {

struct ShownStore {
  std::string name;
  std::string path;
};
struct ShownProfile {
  std::string name;
  std::vector<ShownStore> stores;
  std::string problem;  // why they cannot be told; empty where they can
};

std::vector<ShownStore> StoresOf(const IRDOSession& session, const CString& profile) {
  rdo::Logon logon;
  logon.strProfileName = profile;
  session.Logon(logon);
  const iRDOStores stores = session.GetStores();
  std::vector<ShownStore> shown;
  for (int i = 1; i <= stores.GetCount(); ++i) {
    const IRDOPstStore store = stores.Item(i);
    shown.push_back({store.GetName().ToUtf8(), platform::ResolvePath(store.GetPstPath())});
  }
  return shown;
}

// All that a session of the engine's would find.
std::vector<ShownProfile> Profiles() {
  const IRDOSession session = IRDOSession::Create();
  const IRDOProfiles profiles = session.GetProfiles();
  std::vector<ShownProfile> shown;
  for (int i = 1; i <= profiles.GetCount(); ++i) {
    const CString name = profiles.Item(i);
    ShownProfile& profile = shown.emplace_back();
    profile.name = name.ToUtf8();
    try {
      profile.stores = StoresOf(session, name);
    } catch (const std::exception& error) {
      profile.problem = error.what();
    }
  }
  return shown;
}

void PrintJson(const std::vector<ShownProfile>& profiles) {
  auto list = nlohmann::json::array();
  for (const ShownProfile& profile : profiles) {
    auto stores = nlohmann::json::array();
    for (const ShownStore& store : profile.stores) {
      stores.push_back({{"name", store.name}, {"path", store.path}});
    }
    list.push_back({{"name", profile.name}, {"stores", std::move(stores)}});
    if (!profile.problem.empty()) list.back()["problem"] = profile.problem;
  }
  std::cout << JsonText(list);
}

void PrintText(const std::vector<ShownProfile>& profiles) {
  for (const ShownProfile& profile : profiles) {
    std::cout << OneLine(profile.name) << "\n";
    if (!profile.problem.empty()) std::cout << "  " << OneLine(profile.problem) << "\n";
    for (const ShownStore& store : profile.stores) {
      const bool isThere = std::filesystem::exists(store.path);
      std::cout << "  " << OneLine(store.path) << (isThere ? "" : "  (not there)") << "\n";
    }
  }
}

}  // namespace

int RunProfiles(const Arguments& arguments) {
  std::string run;
  bool json = false;
  CLI::App app("Lists the profiles that a run's engine finds, and the stores of each.",
               "tarny profiles");
  app.add_option("RUN", run, "Folder of the run")->required();
  app.add_flag("--json", json, "As JSON");
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  if (!std::filesystem::is_directory(run))
    throw RunError(fmt::format("there is no folder {}", run));
  platform::SetProgramFolder(std::filesystem::absolute(run).string());
  const std::vector<ShownProfile> profiles = Profiles();
  json ? PrintJson(profiles) : PrintText(profiles);
  const bool isWhole = std::ranges::all_of(profiles, &std::string::empty, &ShownProfile::problem);
  return isWhole ? kExitDone : kExitFailed;
}

}  // namespace client
