#include "client/sources/ThunderbirdProfile.h"

#include <algorithm>
#include <array>
#include <set>

#include <fmt/format.h>

#include "client/sources/LooseMail.h"
#include "client/sources/Names.h"
#include "client/sources/OtherFiles.h"
#include "client/sources/ProfileAccounts.h"
#include "client/sources/ProfileEntryTable.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::string_view kNews = "News";

// The second holds what is on servers.
void NameCalendars(const std::string& profile, std::vector<SourceProblem>& problems) {
  for (const char* name : {"calendar-data/local.sqlite", "calendar-data/cache.sqlite",
                           "calendar-data/storage.sdb", "storage.sdb"}) {
    if (!HasEntry(profile, name)) continue;
    problems.push_back(
        {profile + "/" + name, "calendars: have their program write each as an .ics file"});
  }
}

void NameNews(const std::string& profile, std::vector<SourceProblem>& problems) {
  if (!HasEntry(profile, kNews)) return;
  const std::string path = profile + "/" + std::string(kNews);
  for (const FolderEntry& server : ListFolder(path, problems)) {
    if (server.kind != EntryKind::kFolder) continue;
    problems.push_back({path + "/" + server.name,
                        "news of a server, and no mail: name it as a source if it shall come"});
  }
}

void NameAccounts(const std::string& profile, const ProfileAccounts& accounts,
                  std::vector<SourceProblem>& problems) {
  for (const std::string& path : accounts.gone) {
    problems.push_back(
        {path, "an account has its mail there, and nothing is there", /*isUnread=*/true});
  }
  for (const std::string& place : accounts.elsewhere) {
    problems.push_back({profile + "/prefs.js",
                        fmt::format("the mail of an account lies elsewhere, in {}: name that as a "
                                    "source",
                                    WithoutForbiddenControls(place)),
                        /*isUnread=*/true});
  }
}

// Of what lies beside the accounts.
void NameEntries(const std::string& profile, const ProfileAccounts& accounts,
                 std::vector<SourceProblem>& problems) {
  std::set<std::string> taken;
  for (const MailAccounts::One& account : accounts.below) taken.insert(account.path);
  EachEntry(profile, problems, [&](const FolderEntry& entry) {
    const bool isFile = entry.kind == EntryKind::kFile;
    if (isFile && IsAddressBook(entry.name)) {
      problems.push_back({profile + "/" + entry.name,
                          "an address book: have its program write it as a .vcf file"});
    } else if (!IsNameAboveAccounts(entry.name) && entry.name != kNews &&
               !IsOfProfile(entry.name)) {
      NameLooseMail(profile, entry, taken, problems);
    }
  });
}

// Beside other accounts, as a level of their own for feeds.
void TakeAccounts(const SourceFolder& folder, const ProfileAccounts& accounts,
                  std::vector<SourceFolder>& below) {
  for (const MailAccounts::One& account : accounts.below) {
    const std::size_t slash = account.path.rfind('/');
    const std::string levels =
        LevelsOfAccount(account.path.substr(0, slash), account.path.substr(slash + 1));
    below.push_back({account.path, folder.levels + levels, folder.levels});
  }
}

}  // namespace

bool TakeProfile(const SourceFolder& folder, const std::string& source, MailAccounts& all,
                 Listing& listing, std::vector<SourceFolder>& below) {
  const auto has = [&](std::string_view name) { return HasEntry(folder.path, name); };
  const bool isWithoutAccounts = std::ranges::none_of(kMailFolders, has);
  if (!has("prefs.js") || (isWithoutAccounts && !has("times.json"))) return false;
  for (const std::string_view name : kMailFolders) {
    if (!has(name)) continue;
    below.push_back({folder.path + "/" + std::string(name), folder.levels, folder.levels});
  }
  const ProfileAccounts accounts = AccountsOfProfile(folder.path, source, listing.problems);
  TakeAccounts(folder, accounts, below);
  for (const auto* some : {&accounts.below, &accounts.met}) {
    all.elsewhere.insert(all.elsewhere.end(), some->begin(), some->end());
  }
  NameEntries(folder.path, accounts, listing.problems);
  NameCalendars(folder.path, listing.problems);
  NameNews(folder.path, listing.problems);
  NameAccounts(folder.path, accounts, listing.problems);
  return true;
}

bool IsAboveAccounts(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return false;
  const std::string parent = path.substr(0, slash);
  const std::string_view name = std::string_view(path).substr(slash + 1);
  if (name == kMailFolders.front()) return true;
  return IsNameAboveAccounts(name) &&
         (HasEntry(parent, "prefs.js") || HasEntry(parent, kMailFolders.front()) ||
          HasEntry(path, "Local Folders"));
}

std::string LevelsOfAccount(const std::string& parent, std::string_view name) {
  const std::string path = parent + "/" + std::string(name);
  const bool isOfFeeds = HasEntry(path, "feeds.json") || HasEntry(path, "feeds.rdf");
  return isOfFeeds ? LevelName(name) + "\\" : "";
}

TagNames TagsOfProfile(const std::string& path) { return TagNames(TextOfFile(path + "/prefs.js")); }

}  // namespace client
