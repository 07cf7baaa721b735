#include "client/commands/MigrateOptions.h"

#include <filesystem>
#include <optional>
#include <set>
#include <utility>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "client/commands/CommandFiles.h"
#include "client/commands/Secret.h"
#include "client/sources/SourceFiles.h"
#include "platform/Paths.h"

namespace client {
namespace {

constexpr const char* kLocalUser = "mailbox@local.example";
constexpr const char* kLocalPassword = "local";  // our own mailboxd takes any

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

// Both commands read the same sources the same way.
void DescribeSources(CLI::App& app, MigrateOptions& options) {
  app.add_option_function<std::string>(
         "--mbox",
         [&options](const std::string& kind) {
           options.plan.source.mbox = MboxKindNamed(kind).value_or(MboxKind::kAuto);
         },
         "How mbox files were written: mboxo, mboxrd, mboxcl or mboxcl2; else by what they show")
      ->check(CLI::IsMember({"auto", "mboxo", "mboxrd", "mboxcl", "mboxcl2"}));
  app.add_option(
      "--folder-map", options.folderMap,
      "File with a line SOURCE-PATH<TAB>TARGET-PATH for each folder that goes elsewhere, "
      "levels divided by / (one in a name is \\/, a # that begins one \\#, a blank at either end "
      "\"\\ \", a name * is \\*); /* behind a source's means all below it, too, * alone means all");
  app.add_flag("--no-special-folders{false}", options.plan.specialFolders,
               "Do not put what the source calls Sent, Gesendet, \u9001\u4fe1\u6e08\u307f and the "
               "like into the target's own folders");
  app.add_flag("--no-empty-folders{false}", options.plan.emptyFolders,
               "Do not make folders that hold nothing");
  app.add_flag("--with-deleted", options.plan.withDeleted,
               "Also take mail that its store marks as deleted");
}

void DescribeServer(CLI::App& app, MigrateOptions& options) {
  CLI::Option* const insecure =
      app.add_flag("--insecure", options.engine.insecure, "Accept every server certificate");
  app.add_option("--ca-file", options.engine.caFile, "Certificates to trust, PEM")
      ->excludes(insecure);
  app.add_option(
      "--trust-host", options.engine.trustHosts,
      "A host that autodiscovery may give the password to, besides the address's domain");
  app.add_option("--autodiscover-url", options.engine.autodiscoverUrl, "Address to ask first");
  app.add_option("--authority-url", options.engine.authorityUrl, "Where tokens are asked for");
  app.add_option("--proxy", options.engine.proxy,
                 "The way to the server, http://HOST:PORT; none is taken otherwise");
  app.add_option("--patience", options.engine.patience,
                 "Seconds to wait for a server that does not answer before the run stops; 0 for "
                 "none")
      ->check(CLI::Range(0, 604800))
      ->each([&options](const std::string&) { options.engine.patienceGiven = true; })
      ->capture_default_str();
}

// What only a migration does. A check that is given the same arguments has no use for it.
void DescribeSending(CLI::App& app, MigrateOptions& options, Purpose purpose) {
  std::vector<CLI::Option*> flags;
  flags.push_back(app.add_flag("--dry-run", options.dryRun,
                               "Log on, show folders, counts and sizes; send nothing"));
  flags.push_back(
      app.add_flag("--as-is", options.engine.asIs,
                   "Leave out the safeguards of the engine's --safe (see docs/ARCHITECTURE.md)"));
  flags.push_back(app.add_flag(
      "--from-mime", options.fromMime,
      "Also hand over subject, names and addresses as the mail's header, decoded here, gives "
      "them; else the server reads them out of the mail"));
  CLI::Option* const adopt = app.add_flag(
      "--adopt", options.adopt,
      "First read what the target's folders hold, and send nothing that is there: for a new run "
      "folder on a target that was filled before, or sources that moved");
  flags.push_back(adopt);
  flags.push_back(
      app.add_flag("--no-adopt", options.noAdopt,
                   "Send all that a new run folder does not know, though the target holds it")
          ->excludes(adopt));
  flags.push_back(
      app.add_flag("--delete-missing", options.deleteMissing,
                   "Move mails that this run folder brought, and that are not in the source any "
                   "more, to the target's deleted items")
          ->excludes(adopt));
  flags.push_back(app.add_flag("--ignore-left-out", options.ignoreLeftOut,
                               "Exit code 0 though something that may be mail was left out"));
  if (purpose == Purpose::kMigrate) return;
  for (CLI::Option* flag : flags) flag->group("");  // known, and not told
}

std::string FullPath(const std::string& path) {
  std::error_code error;
  const auto full = std::filesystem::canonical(path, error);
  if (error) throw std::runtime_error(CannotRead(path, error.message()));
  return full.string();
}

// As it will be named once it is there.
std::string NameOf(const std::string& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  std::string name = std::filesystem::weakly_canonical(absolute, error).string();
  while (name.size() > 1 && name.ends_with('/')) name.pop_back();
  return name;
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
  const std::string full = NameOf(path) + "/";
  for (const std::string& source : options.sources) {
    if (!full.starts_with(source + "/")) continue;
    throw UsageError(fmt::format("{}: {} lies in the source {}", option, path, source));
  }
}

// What is listed twice would be sent twice where it has no id, with every run once more: the run
// knows an item by its place.
void RequireApart(const std::vector<std::string>& sources) {
  std::set<std::filesystem::path> named;
  for (const std::string& source : sources) {
    if (named.emplace(source).second) continue;
    throw UsageError(fmt::format("the source {} is named twice", source));
  }
  for (const std::string& source : sources) {
    std::filesystem::path above(source);
    while (above.has_relative_path()) {
      above = above.parent_path();
      if (!named.contains(above)) continue;
      throw UsageError(fmt::format("the source {} lies in the source {}, which brings it along",
                                   source, above.string()));
    }
  }
}

// The local mailbox is served by this program, which knows its address and certificate; a store by
// nobody.
void RequireNothingOfServers(const MigrateOptions& options) {
  const std::pair<const char*, bool> given[] = {
      {"--tenant", options.target.TokenRoute()},
      {"--ca-file", !options.engine.caFile.empty()},
      {"--trust-host", !options.engine.trustHosts.empty()},
      {"--autodiscover-url", !options.engine.autodiscoverUrl.empty()},
      {"--authority-url", !options.engine.authorityUrl.empty()},
      {"--proxy", !options.engine.proxy.empty()},
      {"--insecure", options.engine.insecure}};
  for (const auto& [name, isGiven] : given) {
    if (!isGiven) continue;
    throw UsageError(fmt::format("{} has no meaning with --to {}", name,
                                 options.target.Store() ? kStore : kLocal));
  }
}

// The engine is told the path in Windows form, and takes what that form means to it: another file
// where a name has a backslash, is no UTF-8, or is there in another case alone.
void RequireOwnName(const std::string& file, const std::string& run) {
  std::optional<platform::PathRoot> root;  // as the engine has it
  if (!run.empty()) root.emplace(NameOf(run));
  const std::string taken = platform::ResolvePath(platform::ToWindowsPath(file));
  if (taken == file) return;
  throw UsageError(
      fmt::format("--to store: {} would be taken for {}; give it another name", file, taken));
}

// The engine tells a store by its ending.
void CompleteStore(MigrateOptions& options) {
  Target& target = options.target;
  const std::filesystem::path file = target.StoreFile();
  if (CString::FromUtf8(file.extension().string()).MakeUpper() != u".PST") {
    throw UsageError("--to store: needs a file whose name ends in .pst");
  }
  target.address = std::string(kStore) + NameOf(file);
  RequireOwnName(target.StoreFile(), options.run);
  RequireOutside(options, "--to", file.string());
  RequireNothingOfServers(options);
  if (target.kind != "mailbox") throw UsageError("--target has no meaning with --to store:");
  if (target.user.empty()) target.user = kLocalUser;
}

void ReadFolderMap(MigrateOptions& options) {
  if (options.folderMap.empty()) return;
  try {
    options.plan.folders = FolderMap(ReadWholeFile(options.folderMap));
  } catch (const std::runtime_error& error) {
    throw UsageError(fmt::format("--folder-map {}: {}", options.folderMap, error.what()));
  }
}

// Only what carries a key is found again, and can be moved.
void RequireMovable(const MigrateOptions& options) {
  if (!options.deleteMissing) return;
  if (options.target.Store()) throw UsageError("--delete-missing has no meaning with --to store:");
  if (options.engine.asIs) throw UsageError("--delete-missing has no meaning with --as-is");
}

void RequireUsable(const Target& target) {
  const std::string problem = TargetProblem(target);
  if (!problem.empty()) throw UsageError(problem);
}

}  // namespace

void DescribeOptions(CLI::App& app, MigrateOptions& options, Purpose purpose) {
  app.add_option(
         "SOURCE", options.sources,
         "A Maildir, an mbox or MMDF file, a tree of mail as programs keep it (the profile of a "
         "Thunderbird, several Maildirs, MH, Apple Mail's folders, an export of Gmail, mboxes "
         "in folders), with .eml, .ics and .vcf files and prepared items in it, or one such "
         "file")
      ->required();
  app.add_option("--to", options.to,
                 "local:DIR (a mailbox of our own in DIR), store:FILE.pst (a store that the engine "
                 "keeps in that file), office365, or the URL of a server's EWS endpoint")
      ->required();
  app.add_option("--run", options.run,
                 "Folder of this run: ledger, logs and what is needed to go on. One for each "
                 "target; its list of sources may grow");
  app.add_option("--target", options.target.kind, "mailbox, archive, public or group")
      ->check(CLI::IsMember({"mailbox", "archive", "public", "group"}));
  DescribeSources(app, options);
  DescribeLogon(app, options);
  app.add_flag(
      "--json", options.json,
      purpose == Purpose::kMigrate
          ? "Plan or summary as JSON, whole; the run folder has the summary, too (summary.json)"
          : "All of it as JSON, whole");
  DescribeSending(app, options, purpose);
  DescribeServer(app, options);
}

void CompleteOptions(MigrateOptions& options) {
  RequireNoSecret("--to", options.to);
  RequireNoSecret("--autodiscover-url", options.engine.autodiscoverUrl);
  RequireNoSecret("--authority-url", options.engine.authorityUrl);
  RequireNoSecret("--proxy", options.engine.proxy);
  ReadFolderMap(options);
  if (options.run.empty() && !options.dryRun) throw UsageError("--run is needed");
  Target& target = options.target;
  for (std::string& source : options.sources) source = FullPath(source);
  RequireApart(options.sources);
  if (!options.run.empty()) RequireOutside(options, "--run", options.run);
  target.address = options.to;
  if (target.Local()) {
    if (target.LocalFolder().empty()) throw UsageError("--to local: needs a folder behind it");
    target.address = "local:" + NameOf(target.LocalFolder());
    RequireOutside(options, "--to", target.LocalFolder());
    if (!options.run.empty() && NameOf(options.run) == target.LocalFolder()) {
      throw UsageError(fmt::format("--run: {} is the folder of the local mailbox", options.run));
    }
    RequireNothingOfServers(options);
    if (target.user.empty()) target.user = kLocalUser;
  } else if (target.Store()) {
    CompleteStore(options);
  } else if (options.to != kOffice365 && !options.to.starts_with("https://") &&
             !options.to.starts_with("http://")) {
    throw UsageError("--to is local:DIR, store:FILE, office365, or a URL");
  }
  RequireMovable(options);
}

void AskSecrets(MigrateOptions& options) {
  Target& target = options.target;
  RequireUsable(target);
  try {
    if (target.TokenRoute()) {
      target.clientSecret =
          ReadSecret(options.secretFile, "Secret of the application", "--client-secret-file");
    } else if ((target.Local() || target.Store()) && options.passwordFile.empty()) {
      target.password = kLocalPassword;
    } else {
      target.password =
          ReadSecret(options.passwordFile, "Password of " + target.user, "--password-file");
    }
  } catch (const SecretError& error) {
    throw UsageError(error.what());
  }
  RequireUsable(target);
}

}  // namespace client
