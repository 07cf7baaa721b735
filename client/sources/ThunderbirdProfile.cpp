#include "client/sources/ThunderbirdProfile.h"

#include <algorithm>
#include <array>
#include <map>

#include <fmt/format.h>

#include "client/sources/Names.h"
#include "client/sources/OtherFiles.h"
#include "client/sources/Prefs.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::array<std::string_view, 2> kMailFolders = {"ImapMail", "Mail"};
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

bool IsNameAboveAccounts(std::string_view name) {
  return std::ranges::find(kMailFolders, name) != kMailFolders.end();
}

// Address books, and what is called as the folders of accounts are and is none of them: "Mail.old".
void NameEntry(const std::string& profile, const FolderEntry& entry,
               std::vector<SourceProblem>& problems) {
  const std::string path = profile + "/" + entry.name;
  const bool isAlike = std::ranges::any_of(
      kMailFolders, [&](std::string_view own) { return entry.name.starts_with(own); });
  if (IsAddressBook(entry.name)) {
    problems.push_back({path, "an address book: have its program write it as a .vcf file"});
  } else if (isAlike && entry.kind != EntryKind::kFile && !IsNameAboveAccounts(entry.name)) {
    problems.push_back({path,
                        "its program does not look into it: name it as a source if it shall come",
                        /*isUnread=*/true});
  }
}

struct Account {
  std::string type;
  std::string path;      // as it was on the machine of the profile
  std::string relative;  // "[ProfD]Mail/pop.example"
};

// The part of a path below the profile, as far as its last two names show it: "Mail/pop.example".
std::string LastTwo(std::string path) {
  std::ranges::replace(path, '\\', '/');
  const std::size_t last = path.rfind('/');
  const std::size_t before =
      last == std::string::npos || last == 0 ? last : path.rfind('/', last - 1);
  return before == std::string::npos ? path : path.substr(before + 1);
}

bool LiesInside(const std::string& profile, const Account& account) {
  constexpr std::string_view kProfile = "[ProfD]";
  const bool isRelative = account.relative.starts_with(kProfile);
  const std::string place =
      isRelative ? account.relative.substr(kProfile.size()) : LastTwo(account.path);
  const std::string_view top = std::string_view(place).substr(0, place.find('/'));
  return IsNameAboveAccounts(top) && place.find("..") == std::string::npos &&
         (isRelative || HasEntry(profile, place));
}

void NameAccountsElsewhere(const std::string& profile, std::vector<SourceProblem>& problems) {
  static constexpr std::array<std::string_view, 3> kOfNoMail = {"", "im", "nntp"};
  std::map<std::string, Account> accounts;
  EachTextPref(TextOfFile(profile + "/prefs.js"), "mail.server.",
               [&](std::string_view key, const std::string& text) {
                 const std::size_t dot = key.rfind('.');
                 if (dot == std::string_view::npos) return;
                 const std::string_view name = key.substr(dot + 1);
                 Account& account = accounts[std::string(key.substr(0, dot))];
                 if (name == "type") account.type = text;
                 if (name == "directory") account.path = text;
                 if (name == "directory-rel") account.relative = text;
               });
  for (const auto& [name, account] : accounts) {
    const std::string& place = account.path.empty() ? account.relative : account.path;
    if (std::ranges::find(kOfNoMail, account.type) != kOfNoMail.end() || place.empty()) continue;
    if (LiesInside(profile, account)) continue;
    problems.push_back({profile + "/prefs.js",
                        fmt::format("the mail of an account lies elsewhere, in {}: name that as a "
                                    "source",
                                    WithoutForbiddenControls(place)),
                        /*isUnread=*/true});
  }
}

}  // namespace

bool TakeProfile(const SourceFolder& folder, Listing& listing, std::vector<SourceFolder>& below) {
  const auto has = [&](std::string_view name) { return HasEntry(folder.path, name); };
  const bool isWithoutAccounts = std::ranges::none_of(kMailFolders, has);
  if (!has("prefs.js") || (isWithoutAccounts && !has("times.json"))) return false;
  for (const std::string_view name : kMailFolders) {
    if (!has(name)) continue;
    below.push_back({folder.path + "/" + std::string(name), folder.levels, folder.levels});
  }
  EachEntry(folder.path, listing.problems,
            [&](const FolderEntry& entry) { NameEntry(folder.path, entry, listing.problems); });
  NameCalendars(folder.path, listing.problems);
  NameNews(folder.path, listing.problems);
  NameAccountsElsewhere(folder.path, listing.problems);
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
