#include <algorithm>
#include <array>
#include <filesystem>
#include <iostream>

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/commands/MigrateOptions.h"
#include "client/commands/ProblemList.h"
#include "client/commands/RunFailure.h"
#include "client/commands/TargetLogon.h"
#include "client/run/EngineOptions.h"
#include "client/run/ItemKinds.h"
#include "client/run/Journal.h"
#include "client/run/RunIdentity.h"
#include "client/run/StopRequest.h"
#include "client/run/StoreLook.h"
#include "client/run/Verification.h"
#include "client/show/Console.h"
#include "client/show/JsonText.h"
#include "client/show/OutputText.h"

namespace client {
namespace {

// What is told of a folder: the words of the text, the member of the JSON, the list.
struct Finding {
  const char* words;
  const char* member;
  std::vector<SourceProblem> FolderCheck::*list;
};
constexpr std::array<Finding, 5> kFindings{{
    {"missing", "missing", &FolderCheck::missing},
    {"twice", "twice", &FolderCheck::twice},
    {"of other size", "other_size", &FolderCheck::otherSize},
    {"unread in the source", "unread", &FolderCheck::unread},
    {"beyond the source", "beyond", &FolderCheck::beyond},
}};

void PrintText(const std::vector<FolderCheck>& checks, const Plan& plan) {
  for (const FolderCheck& check : checks) {
    std::cout << fmt::format("{}: {}, {} there", OneLine(check.folder), ItemCount(check.items),
                             check.there);
    for (const Finding& finding : kFindings) {
      const auto& list = check.*finding.list;
      if (!list.empty()) std::cout << fmt::format(", {} {}", list.size(), finding.words);
    }
    std::cout << "\n";
    for (const Finding& finding : kFindings) {
      PrintProblems(finding.words, check.*finding.list, {.file = {}, .indent = 2});
    }
  }
  PrintProblems(kNothingIn, plan.emptySources);
  PrintLeftOut(plan.problems);
}

void PrintJson(const std::vector<FolderCheck>& checks, const Plan& plan, bool complete) {
  nlohmann::json folders = nlohmann::json::array();
  for (const FolderCheck& check : checks) {
    nlohmann::json folder = {
        {"folder", check.folder}, {"items", check.items}, {"there", check.there}};
    for (const Finding& finding : kFindings) {
      folder[finding.member] = ProblemsAsJson(check.*finding.list);
    }
    folders.push_back(std::move(folder));
  }
  std::cout << JsonText(nlohmann::json{{"complete", complete},
                                       {"folders", folders},
                                       {"empty_sources", ProblemsAsJson(plan.emptySources)},
                                       {"left_out", LeftOutAsJson(plan.problems)}});
}

int Verify(MigrateOptions& options, Console& console) {
  const Say say = [&console](const std::string& line) { console.Say(line); };
  InstallStopHandler();
  options.plan.earlier = FoldersOfEarlierRuns(options.run, options.sources);
  const Plan plan = MakePlan(options.sources, options.plan);
  AskSecrets(options);
  std::error_code error;
  if (!std::filesystem::exists(options.run + "/journal.db", error)) {
    if (error) throw RunError(CannotRead(options.run, error.message()));
    throw RunError(fmt::format("{} is not the run folder of a migration", options.run));
  }
  RunFolder run(options.run);
  run.TakeOver(say);  // what an engine still sends is waited for
  Journal journal(run.File("journal.db"));
  const std::string had = RequireSameMailbox(journal, options.target, run);
  if (!had.empty()) say(fmt::format("The migration went to the {}.", had));
  const std::unique_ptr<LocalMailbox> local = ServeIfLocal(options.target, say);
  RequireStoreKept(options.target, journal);
  ServerWaits waits;
  RequireLogon(options.target, EngineOptions(options.engine, options.target, local.get()),
               run.Title(), options.engine.patienceGiven || (IsBound(journal) && had.empty()),
               waits, say);
  const std::unique_ptr<TargetLook> look = LookAt(options.target, KindsOf(plan.entries.Items()));
  Verification verification(*look, HasSentWithoutKeys(journal), [&](const Step& step) {
    console.Progress(step.done, step.total, step.name);
  });
  const std::vector<FolderCheck> checks = verification.Run(plan);
  console.EndProgress();
  const bool complete = plan.IsWhole() && std::ranges::all_of(checks, &FolderCheck::Complete);
  options.json ? PrintJson(checks, plan, complete) : PrintText(checks, plan);
  return complete ? kExitDone : kExitFailed;
}

}  // namespace

int RunVerify(const Arguments& arguments) {
  MigrateOptions options;
  CLI::App app(
      "Says what of the source is in the target, folder by folder, and what is not. Takes the "
      "arguments of the migration. Exit code 0 means that nothing is missing, nothing is there "
      "twice, and all of the source could be read. Of other size is what the server counts as less "
      "than a third or more than three "
      "times the bytes of the mail, and off by more than 64 KiB: servers keep mail in a form of "
      "their own, so that smaller differences say nothing.",
      "tarny verify");
  DescribeOptions(app, options, Purpose::kVerify);
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  Console console;
  try {
    CompleteOptions(options);
    return Verify(options, console);
  } catch (...) {
    return TellFailure(app.get_name(), options.run, console);
  }
}

}  // namespace client
