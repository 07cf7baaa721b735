#include <iostream>
#include <memory>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "client/commands/Commands.h"
#include "client/commands/MigrateOptions.h"
#include "client/commands/MigrateOutput.h"
#include "client/commands/ProblemList.h"
#include "client/commands/TargetLogon.h"
#include "client/run/FilledTarget.h"
#include "client/run/LedgerLook.h"
#include "client/run/LocalMailbox.h"
#include "client/run/Migration.h"
#include "client/run/RunIdentity.h"
#include "client/run/StopRequest.h"
#include "client/show/Console.h"

namespace client {
namespace {

// Either of the two is enough to send nothing twice.
bool KnowsNothing(Journal& journal, const RunFolder& run) {
  return journal.IsNew() && !LedgerLook(run.File(std::string(kLedgerName))).HasRows();
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
  console.Say("Run the same command again to go on.");
}

int Migrate(MigrateOptions& options, Console& console) {
  const Say say = [&console](const std::string& line) { console.Say(line); };
  InstallStopHandler();
  const Plan plan = MakePlan(options.sources, options.plan);
  if (options.dryRun) {
    PrintPlan(plan, options.target.Name(), options.json);
    return plan.IsWhole() ? kExitDone : kExitFailed;
  }
  AskSecrets(options);

  RunFolder run(options.run);
  run.TakeOver(say);
  run.InstallEngine(OwnFolder() + "/TarnyOutlookEngine");
  Journal journal(run.File("journal.db"));
  const RunIdentity identity = IdentityOf(options.sources, options.target);
  RequireSameRun(journal, identity, run, options.adopt);
  RequireUsableLedger(run);
  const std::unique_ptr<LocalMailbox> local = ServeIfLocal(options.target, say);
  const std::vector<std::string> engineOptions =
      EngineOptions(options.engine, options.target, local.get());
  ServerWaits waits;
  RequireLogon(options.target, engineOptions, run, options.engine.patienceGiven || IsBound(journal),
               waits, say);
  if (!options.adopt && !options.noAdopt && KnowsNothing(journal, run)) {
    TargetLook look(options.target);
    RequireNotFilled(look, plan, say);
  }
  // Only now: a mistyped name must not bind the run folder.
  KeepIdentity(journal, identity, options.adopt);

  Migration migration(
      {run, options.target, engineOptions, local.get(), options.fromMime, options.adopt, &waits},
      journal, say, [&console](const Step& step) { ShowStep(step, console); });
  const Summary summary = migration.Run(plan);
  if (options.adopt && summary.stopped.empty()) EndAdoption(journal);
  console.EndProgress();
  PrintSummary(summary, plan, options.json);
  std::cout.flush();
  TellEnd(summary, console);
  return summary.Complete() && plan.IsWhole() ? kExitDone : kExitFailed;
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
  } catch (const UsageError& error) {
    console.Say(fmt::format("tarny migrate: {}", error.what()));
    return kExitUsage;
  } catch (const platform::SqliteError& error) {
    console.Say(
        fmt::format("tarny migrate: {} cannot be used: its journal journal.db fails with: {}",
                    options.run, error.what()));
    return kExitFailed;
  } catch (const std::exception& error) {
    console.Say(fmt::format("tarny migrate: {}", error.what()));
    return kExitFailed;
  }
}

}  // namespace client
