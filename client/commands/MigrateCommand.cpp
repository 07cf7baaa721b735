#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>
#include <utility>

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/commands/Secret.h"
#include "client/run/LocalMailbox.h"
#include "client/run/Migration.h"
#include "client/run/StopRequest.h"
#include "client/run/Target.h"
#include "client/show/Console.h"
#include "client/show/OutputText.h"
#include "engine/CommandLine.h"
#include "ews/Settings.h"

namespace client {
namespace {

constexpr const char* kLocalUser = "mailbox@local.example";
constexpr const char* kLocalPassword = "local";  // our own mailboxd takes any
constexpr size_t kMostListed = 50;               // failures shown; the journal has them all

struct MigrateOptions {
  std::vector<std::string> sources;
  std::string run;
  Target target;
  std::string to;
  std::string passwordFile;
  std::string secretFile;
  bool dryRun = false;
  bool asIs = false;
  bool insecure = false;
  bool fromMime = false;
  bool json = false;
  std::string autodiscoverUrl;
  std::string authorityUrl;
  std::string caFile;
  std::vector<std::string> trustHosts;
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

void DescribeLogon(CLI::App& app, MigrateOptions& options) {
  CLI::Option* const user =
      app.add_option("--user", options.target.user, "Mail address to log on with");
  CLI::Option* const password =
      app.add_option("--password-file", options.passwordFile,
                     "File whose first line is the password; asked for otherwise");
  CLI::Option* const tenant =
      app.add_option("--tenant", options.target.tenant,
                     "Tenant id: log on as a registered application instead of a user")
          ->excludes(user)
          ->excludes(password);
  app.add_option("--client", options.target.clientId, "Id of the application")->needs(tenant);
  app.add_option("--client-secret-file", options.secretFile,
                 "File whose first line is the application's secret; asked for otherwise")
      ->needs(tenant);
  app.add_option("--mailbox", options.target.mailbox,
                 "Address of the mailbox to fill, where it is not the user's own; the group's "
                 "address for --target group");
}

void DescribeServer(CLI::App& app, MigrateOptions& options) {
  CLI::Option* const insecure =
      app.add_flag("--insecure", options.insecure, "Accept every server certificate");
  app.add_option("--ca-file", options.caFile, "Certificates to trust, PEM")->excludes(insecure);
  app.add_option(
      "--trust-host", options.trustHosts,
      "A host that autodiscovery may give the password to, besides the address's domain");
  app.add_option("--autodiscover-url", options.autodiscoverUrl, "Address to ask first");
  app.add_option("--authority-url", options.authorityUrl, "Where tokens are asked for");
}

void Describe(CLI::App& app, MigrateOptions& options) {
  app.add_option("SOURCE", options.sources,
                 "A Maildir, an mbox file, a folder with .eml files and prepared items in it and "
                 "below, or one .eml file")
      ->required();
  app.add_option("--to", options.to,
                 "local:DIR (a mailbox of our own in DIR), office365, or the URL of a server's EWS "
                 "endpoint")
      ->required();
  app.add_option("--run", options.run,
                 "Folder of this run: ledger, logs and what is needed to go on. One for each "
                 "list of sources and target");
  app.add_option("--target", options.target.kind, "mailbox, archive, public or group")
      ->check(CLI::IsMember({"mailbox", "archive", "public", "group"}));
  DescribeLogon(app, options);
  app.add_flag("--dry-run", options.dryRun, "Show folders, counts and sizes; send nothing");
  app.add_flag("--json", options.json, "Plan or summary as JSON");
  app.add_flag("--as-is", options.asIs,
               "Leave out the safeguards of the engine's --safe (see docs/ARCHITECTURE.md)");
  app.add_flag(
      "--from-mime", options.fromMime,
      "Also hand over subject, names and addresses as the mail's header, decoded here, gives "
      "them; else the server reads them out of the mail");
  DescribeServer(app, options);
}

std::string FullPath(const std::string& path) {
  std::error_code error;
  const auto full = std::filesystem::canonical(path, error);
  if (error) throw std::runtime_error(CannotRead(path, error.message()));
  return full.string();
}

// Arguments can be read by every user of a machine, and the target's URL is kept in the run folder.
void RequireNoSecret(const char* option, const std::string& url) {
  const size_t host = url.find("://");
  if (host == std::string::npos) return;
  const std::string authority = url.substr(host + 3, url.find_first_of("/?#", host + 3) - host - 3);
  if (authority.find('@') == std::string::npos) return;
  throw UsageError(
      fmt::format("{}: a URL here holds no user name or password; take --user and "
                  "--password-file",
                  option));
}

// The work files of one run would be prepared items of the next, and a mailbox no mail of
// anybody's.
void RequireOutside(const MigrateOptions& options, const char* option, const std::string& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  const std::string full = std::filesystem::weakly_canonical(absolute, error).string() + "/";
  for (const std::string& source : options.sources) {
    if (!full.starts_with(source + "/")) continue;
    throw UsageError(fmt::format("{}: {} lies in the source {}", option, path, source));
  }
}

// The local mailbox is served by this program, which knows its address and certificate.
void RequireNothingOfServers(const MigrateOptions& options) {
  const std::pair<const char*, bool> given[] = {
      {"--tenant", options.target.TokenRoute()},
      {"--ca-file", !options.caFile.empty()},
      {"--trust-host", !options.trustHosts.empty()},
      {"--autodiscover-url", !options.autodiscoverUrl.empty()},
      {"--authority-url", !options.authorityUrl.empty()},
      {"--insecure", options.insecure}};
  for (const auto& [name, isGiven] : given) {
    if (isGiven) throw UsageError(fmt::format("{} has no meaning with --to local:", name));
  }
}

void Complete(MigrateOptions& options) {
  RequireNoSecret("--to", options.to);
  RequireNoSecret("--autodiscover-url", options.autodiscoverUrl);
  RequireNoSecret("--authority-url", options.authorityUrl);
  if (options.run.empty() && !options.dryRun) throw UsageError("--run is needed");
  Target& target = options.target;
  for (std::string& source : options.sources) source = FullPath(source);
  if (!options.run.empty()) RequireOutside(options, "--run", options.run);
  target.address = options.to;
  if (target.Local()) {
    if (target.LocalFolder().empty()) throw UsageError("--to local: needs a folder behind it");
    std::error_code error;
    const auto folder =
        std::filesystem::weakly_canonical(std::filesystem::absolute(target.LocalFolder()), error);
    target.address = "local:" + folder.string();
    RequireOutside(options, "--to", target.LocalFolder());
    RequireNothingOfServers(options);
    if (target.user.empty()) target.user = kLocalUser;
  } else if (options.to != "office365" && !options.to.starts_with("https://") &&
             !options.to.starts_with("http://")) {
    throw UsageError("--to is local:DIR, office365, or a URL");
  }
}

void RequireUsable(const Target& target) {
  const std::string problem = TargetProblem(target);
  if (!problem.empty()) throw UsageError(problem);
}

void AskSecrets(MigrateOptions& options) {
  Target& target = options.target;
  try {
    if (target.TokenRoute()) {
      target.clientSecret =
          ReadSecret(options.secretFile, "Secret of the application", "--client-secret-file");
    } else if (target.Local() && options.passwordFile.empty()) {
      target.password = kLocalPassword;
    } else {
      target.password =
          ReadSecret(options.passwordFile, "Password of " + target.user, "--password-file");
    }
  } catch (const SecretError& error) {
    throw UsageError(error.what());
  }
}

std::vector<std::string> EngineOptions(const MigrateOptions& options, const LocalMailbox* local) {
  std::vector<std::string> arguments = {"--token-cache"};
  const auto add = [&](const char* name, const std::string& value) {
    if (!value.empty()) arguments.insert(arguments.end(), {name, value});
  };
  if (!options.insecure) arguments.push_back("--verify-certificates");
  if (!options.asIs) arguments.push_back("--safe");
  if (local) {
    add("--autodiscover-url", local->AutodiscoverUrl());
    add("--ca-file", local->CertificateFile());
    add("--trust-host", "127.0.0.1");
  } else {
    if (options.to != "office365") add("--ews-url", options.to);
    add("--autodiscover-url", options.autodiscoverUrl);
    add("--ca-file", options.caFile);
  }
  add("--authority-url", options.authorityUrl);
  for (const std::string& host : options.trustHosts) add("--trust-host", host);
  return arguments;
}

// In any order they are the same.
std::string SourcesText(const MigrateOptions& options) {
  std::vector<std::string> sources = options.sources;
  std::sort(sources.begin(), sources.end());
  return nlohmann::json(sources).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// A run folder that knew another source or target would hold rows that say nothing about this one.
void RequireSameRun(Journal& journal, const MigrateOptions& options, const RunFolder& run) {
  const std::string sources = SourcesText(options);
  const std::string target = options.target.Name();
  const std::optional<std::string> hadSources = journal.Property("sources");
  const std::optional<std::string> hadTarget = journal.Property("target");
  if (hadSources && *hadSources != sources) {
    throw RunError(fmt::format("{} belongs to a run of other sources ({}); use another run folder",
                               run.Path(), *hadSources));
  }
  if (hadTarget && *hadTarget != target) {
    throw RunError(
        fmt::format("{} belongs to a run into another target ({}); use another run "
                    "folder",
                    run.Path(), *hadTarget));
  }
}

// Bytes of names need not be UTF-8; JSON must be.
void PrintJson(const nlohmann::json& value) {
  std::cout << value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
}

nlohmann::json ProblemsAsJson(const std::vector<SourceProblem>& problems) {
  nlohmann::json list = nlohmann::json::array();
  for (const SourceProblem& problem : problems) {
    list.push_back({{"item", problem.location}, {"text", problem.reason}});
  }
  return list;
}

void PrintProblems(const char* title, const std::vector<SourceProblem>& problems) {
  if (problems.empty()) return;
  std::cout << title << ":\n";
  for (size_t i = 0; i < problems.size() && i < kMostListed; ++i) {
    std::cout << fmt::format("  {}: {}\n", OneLine(problems[i].location),
                             OneLine(problems[i].reason));
  }
  if (problems.size() > kMostListed) {
    std::cout << fmt::format("  and {} more\n", problems.size() - kMostListed);
  }
}

int ShowPlan(const Plan& plan, const MigrateOptions& options) {
  if (options.json) {
    nlohmann::json folders = nlohmann::json::array();
    for (const Plan::Folder& folder : plan.Folders()) {
      folders.push_back(
          {{"folder", folder.name}, {"items", folder.items}, {"bytes", folder.bytes}});
    }
    PrintJson({{"target", options.target.Name()},
               {"items", plan.entries.size()},
               {"folders", folders},
               {"left_out", ProblemsAsJson(plan.problems)},
               {"not_supported", ProblemsAsJson(plan.unsupported)}});
    return plan.unsupported.empty() && plan.IsWhole() ? kExitDone : kExitFailed;
  }
  std::cout << fmt::format("{} would go to the {}:\n", ItemCount(plan.entries.size()),
                           OneLine(options.target.Name()));
  for (const Plan::Folder& folder : plan.Folders()) {
    std::cout << fmt::format("  {:>7}  {:>12}  {}\n", folder.items, SizeText(folder.bytes),
                             OneLine(folder.name));
  }
  PrintProblems("Left out", plan.problems);
  PrintProblems("Not supported yet; a run with these does not start", plan.unsupported);
  return plan.unsupported.empty() && plan.IsWhole() ? kExitDone : kExitFailed;
}

// A run that would leave items behind by design is not begun.
void RequireSupported(const Plan& plan, Console& console) {
  if (plan.unsupported.empty()) return;
  for (size_t i = 0; i < plan.unsupported.size() && i < kMostListed; ++i) {
    const SourceProblem& item = plan.unsupported[i];
    console.Say(fmt::format("{}: {}", item.location, item.reason));
  }
  throw RunError(
      fmt::format("{} of the prepared items are no mail, which is not supported yet; nothing was "
                  "sent. Move them out of the source to send the rest",
                  plan.unsupported.size()));
}

// Without its ledger a run could not tell what has arrived, and would send it again.
void RequireUsableLedger(const RunFolder& run) {
  const std::string path = run.File(std::string(kLedgerName));
  const std::string problem = LedgerLook(path).Problem();
  if (problem.empty()) return;
  throw RunError(fmt::format(
      "{} cannot be used: its ledger {} fails with: {}. Take a new run folder, or move the ledger "
      "away: the journal then says what has arrived",
      run.Path(), kLedgerName, problem));
}

void PrintSummary(const Summary& summary, const Plan& plan, const MigrateOptions& options) {
  if (options.json) {
    PrintJson({{"items", summary.total},
               {"sent", summary.sent},
               {"there_already", summary.known},
               {"failed", summary.failed},
               {"not_confirmed", summary.notConfirmed},
               {"not_reached", summary.total - summary.seen},
               {"stopped", summary.stopped},
               {"failures", ProblemsAsJson(summary.failures)},
               {"remarks", ProblemsAsJson(summary.remarks)},
               {"left_out", ProblemsAsJson(plan.problems)}});
    return;
  }
  PrintProblems("Left out", plan.problems);
  PrintProblems("Arrived, with a remark", summary.remarks);
  PrintProblems("Failed", summary.failures);
  std::cout << fmt::format("{}: {} sent, {} there already, {} failed", ItemCount(summary.total),
                           summary.sent, summary.known, summary.failed);
  if (summary.notConfirmed) std::cout << fmt::format(", {} not confirmed", summary.notConfirmed);
  if (summary.seen < summary.total) {
    std::cout << fmt::format(", {} not reached", summary.total - summary.seen);
  }
  if (!plan.problems.empty()) std::cout << fmt::format(", {} left out", plan.problems.size());
  std::cout << (plan.IsWhole() ? "\n" : "; not all of the source could be read\n");
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

int Migrate(MigrateOptions& options, Console& console) {
  const Say say = [&console](const std::string& line) { console.Say(line); };
  InstallStopHandler();
  const Plan plan = MakePlan(options.sources);
  if (options.dryRun) return ShowPlan(plan, options);
  RequireSupported(plan, console);
  RequireUsable(options.target);  // before anyone types a password in vain
  AskSecrets(options);
  RequireUsable(options.target);

  RunFolder run(options.run);
  run.TakeOver(say);
  run.InstallEngine(OwnFolder() + "/TarnyOutlookEngine");
  Journal journal(run.File("journal.db"));
  RequireSameRun(journal, options, run);
  RequireUsableLedger(run);
  std::optional<LocalMailbox> local;
  if (options.target.Local()) {
    local.emplace(OwnFolder() + "/mailboxd", options.target.LocalFolder(), say);
  }
  const std::vector<std::string> engineOptions = EngineOptions(options, local ? &*local : nullptr);
  // The options stand in front of the marker here as in the engine.
  std::vector<std::string> commandLine = engineOptions;
  commandLine.push_back(run.Title());
  const CommandLine parsed = ReadCommandLine(commandLine, ews::Settings());
  if (!parsed.strError.empty()) throw UsageError(parsed.strError);
  const std::string refusal = TryTarget(options.target);
  if (!refusal.empty()) {
    throw RunError(fmt::format("cannot log on to the {}: {}", options.target.Name(), refusal));
  }
  // Only now: a mistyped name must not bind the run folder.
  journal.SetProperty("sources", SourcesText(options));
  journal.SetProperty("target", options.target.Name());
  Migration migration(
      {run, options.target, engineOptions, local ? &*local : nullptr, options.fromMime}, journal,
      say, [&console](const Step& step) { ShowStep(step, console); });
  const Summary summary = migration.Run(plan);
  console.EndProgress();
  PrintSummary(summary, plan, options);
  std::cout.flush();
  if (!summary.stopped.empty()) {
    console.Say("Stopped early: " + summary.stopped);
    console.Say("Run the same command again to go on.");
  }
  return summary.Complete() && plan.IsWhole() ? kExitDone : kExitFailed;
}

}  // namespace

int RunMigrate(const Arguments& arguments) {
  MigrateOptions options;
  CLI::App app("Sends mail from files on disk into a mailbox. Run again, it goes on where it was.",
               "tarny migrate");
  Describe(app, options);
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  Console console;
  try {
    Complete(options);
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
