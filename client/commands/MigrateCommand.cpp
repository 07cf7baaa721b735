#include <fstream>
#include <iostream>
#include <memory>
#include <utility>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "client/commands/Commands.h"
#include "client/commands/MigrateOptions.h"
#include "client/commands/MigrateOutput.h"
#include "client/commands/ProblemList.h"
#include "client/commands/RunFailure.h"
#include "client/commands/TargetLogon.h"
#include "client/run/FolderPlaces.h"
#include "client/run/ItemKinds.h"
#include "client/run/LedgerLook.h"
#include "client/run/LedgerWriter.h"
#include "client/run/LocalMailbox.h"
#include "client/run/Migration.h"
#include "client/run/NewFile.h"
#include "client/run/RunIdentity.h"
#include "client/run/StopRequest.h"
#include "client/run/StoreLook.h"
#include "client/run/SummaryFile.h"
#include "client/run/TargetFit.h"
#include "client/show/Console.h"
#include "ews/Settings.h"

namespace client {
namespace {

// What the run folder knows and the target has not is forgotten once the run is bound to adopt.
bool ForgetsAll(const MigrateOptions& options, const Plan& plan, Journal& journal,
                const RunFolder& run, const Say& say) {
  if (options.noAdopt) return false;
  const std::unique_ptr<TargetLook> look = LookAt(options.target, KindsOf(plan.entries.Items()));
  LedgerLook ledger(run.File(std::string(kLedgerName)));
  return ForgetsWhatMisfits({*look, plan, journal, ledger, !options.engine.asIs, options.adopt},
                            say);
}

// The journal first: whoever finds rows and no journal goes on here.
void ForgetAll(Journal& journal, const RunFolder& run) {
  journal.ForgetAll();
  LedgerWriter(run.File(std::string(kLedgerName))).RemoveAll();
}

// On a terminal only what failed gets a line, above the bar.
void ShowStep(const Step& step, Console& console) {
  if (step.failed) {
    console.Say(step.line);
  } else {
    console.SayPlain(step.line);
  }
  console.Progress(step.done, step.total, step.name);
}

void TellEnd(const Summary& summary, Console& console) {
  if (summary.stopped.empty()) return;
  console.Say("Stopped early: " + summary.stopped);
  if (summary.canGoOn) console.Say("Run the same command again to go on.");
}

// Waits of our own stand in the run's log, as the engine's do in its trace.
void LogWaits(const std::string& path) {
  auto& tell = ews::Settings().fnTellWait;
  tell = [before = std::move(tell), path](const std::string& line) {
    before(line);
    std::ofstream(path, std::ios::app) << line << "\r\n";
  };
}

// Into the run folder, and to standard output. What is sent is sent, whether or not there is room
// for words about it.
void TellSummary(const Summary& summary, const Plan& plan, const RunFolder& run, bool json,
                 const Say& say) {
  const std::string text = SummaryAsJson(summary, plan);
  std::string file = run.File(kSummaryName);
  try {
    WriteSummaryFile(run, text);
  } catch (const WriteError& error) {
    say(fmt::format("{}; a {} that is there is of an earlier run", error.what(), kSummaryName));
    file.clear();
  }
  if (json) {
    std::cout << text;
  } else {
    PrintSummary(summary, plan, file);
  }
  std::cout.flush();
}

bool IsEnough(const Plan& plan, const MigrateOptions& options) {
  return plan.IsWhole() || options.ignoreLeftOut;
}

// What would be sent, and whether the target would let us in. What lies on this machine is our own,
// and not made before something is sent.
int DryRun(MigrateOptions& options, const Plan& plan, const Say& say) {
  RequireStoreUsable(options.target);
  RequireEarlierStoreKept(options.run, options.target);
  RequirePlacesKept(plan, options.run, IdentityOf(options.sources, options.target));
  if (!options.target.Local() && !options.target.Store()) {
    AskSecrets(options);
    ServerWaits waits;
    RequireLogon(options.target, EngineOptions(options.engine, options.target, nullptr), "<GUID>",
                 options.engine.patienceGiven, waits, say);
  }
  PrintPlan(plan, options.target.Name(), options.json);
  return IsEnough(plan, options) ? kExitDone : kExitFailed;
}

int Migrate(MigrateOptions& options, Console& console) {
  const Say say = [&console](const std::string& line) { console.Say(line); };
  InstallStopHandler();
  options.plan.earlier = FoldersOfEarlierRuns(options.run, options.sources);
  const Plan plan = MakePlan(options.sources, options.plan);
  if (options.dryRun) return DryRun(options, plan, say);
  AskSecrets(options);

  RunFolder run(options.run);
  run.TakeOver(say);
  run.InstallEngine(OwnFolder() + "/TarnyOutlookEngine");
  Journal journal(run.File("journal.db"));
  const RunIdentity identity = IdentityOf(options.sources, options.target);
  RequireSameRun(journal, identity, run, options.adopt);
  RequireUsableLedger(run);
  const std::unique_ptr<LocalMailbox> local = ServeIfLocal(options.target, say);
  RequireStoreKept(options.target, journal);
  const std::vector<std::string> engineOptions =
      EngineOptions(options.engine, options.target, local.get());
  ServerWaits waits;
  RequireLogon(options.target, engineOptions, run.Title(),
               options.engine.patienceGiven || IsBound(journal), waits, say);
  LogWaits(run.File("4LogFile.txt"));
  const bool forgetsAll = ForgetsAll(options, plan, journal, run, say);
  if (!forgetsAll) RequirePlacesKept(plan, journal, identity);
  // Only now: a mistyped name must not bind the run folder.
  KeepIdentity(journal, identity, options.adopt);
  if (forgetsAll) ForgetAll(journal, run);
  journal.KeepFolderKinds(KindsOf(plan.entries.Items()));
  journal.KeepPlaces(plan.places);

  Migration migration({run, options.target, engineOptions, local.get(), options.fromMime,
                       options.adopt, &waits, options.deleteMissing},
                      journal, say, [&console](const Step& step) { ShowStep(step, console); });
  const Summary summary = migration.Run(plan);
  if (options.adopt && summary.stopped.empty()) EndAdoption(journal);
  console.EndProgress();
  TellSummary(summary, plan, run, options.json, say);
  TellEnd(summary, console);
  return summary.Complete() && IsEnough(plan, options) ? kExitDone : kExitFailed;
}

}  // namespace

int RunMigrate(const Arguments& arguments) {
  MigrateOptions options;
  CLI::App app("Sends mail from files on disk into a mailbox. Run again, it goes on where it was.",
               "tarny migrate");
  DescribeOptions(app, options, Purpose::kMigrate);
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  Console console;
  try {
    CompleteOptions(options);
    return Migrate(options, console);
  } catch (...) {
    return TellFailure(app.get_name(), options.run, console);
  }
}

}  // namespace client
