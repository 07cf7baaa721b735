#include "client/sources/SpecialUse.h"

#include <array>
#include <optional>
#include <utility>

#include "base/AsciiText.h"
#include "client/sources/MailServers.h"
#include "client/sources/ModifiedUtf7.h"
#include "client/sources/Names.h"
#include "client/sources/Percents.h"
#include "client/sources/Pieces.h"
#include "client/sources/Prefs.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::uint64_t kMostFirstLine = 1024;  // bytes
constexpr std::string_view kAttributes = "dovecot-attributes";
constexpr std::string_view kUidList = "dovecot-uidlist";

struct Mark {
  std::string_view name;
  SpecialFolder folder;
};
// "\All" and "\Flagged" are none: what is in there is elsewhere, too.
constexpr std::array<Mark, 5> kMarks = {{{"\\Sent", SpecialFolder::kSent},
                                         {"\\Drafts", SpecialFolder::kDrafts},
                                         {"\\Trash", SpecialFolder::kDeleted},
                                         {"\\Junk", SpecialFolder::kJunk},
                                         {"\\Archive", SpecialFolder::kArchive}}};
// Templates are no drafts, and Exchange has no folder for them.
constexpr std::array<Mark, 3> kPrefs = {{{".fcc_folder", SpecialFolder::kSent},
                                         {".draft_folder", SpecialFolder::kDrafts},
                                         {".archive_folder", SpecialFolder::kArchive}}};

// Of "\Archive \Junk" the first that says something.
std::optional<SpecialFolder> UseIn(std::string_view marks) {
  while (!marks.empty()) {
    const std::string_view each = mail::trimmed(TakeUpTo(marks, ' '));
    for (const Mark& mark : kMarks) {
      if (mail::equalsNoCase(each, mark.name)) return mark.folder;
    }
  }
  return std::nullopt;
}

// Between "priv/" or "shared/" and "/specialuse".
std::string_view NumberIn(std::string_view key) {
  constexpr std::string_view kEnd = "/specialuse";
  if (!key.ends_with(kEnd)) return {};
  key.remove_suffix(kEnd.size());
  return key.substr(key.find('/') + 1);
}

// "3 V1795725871 N1 Gf9b14e022f9a086b2a75000083ecc375"
std::string_view NumberInList(std::string_view uidList) {
  std::string_view line = uidList.substr(0, uidList.find('\n'));
  while (!line.empty()) {
    const std::string_view word = mail::trimmed(TakeUpTo(line, ' '));
    if (word.starts_with('G')) return word.substr(1);
  }
  return {};
}

// Of one folder, as the source's folders have it.
std::string LevelOf(std::string_view name) {
  return name.empty() ? "" : LevelName(FromModifiedUtf7(name)) + "\\";
}

// "INBOX/Papierkorb"
std::string LevelsOf(std::string_view path) {
  std::string levels;
  while (!path.empty()) levels += LevelOf(TakeUpTo(path, '/'));
  return levels;
}

// Behind "imap://user@host/".
std::string LevelsIn(std::string_view url) {
  constexpr std::string_view kBehindScheme = "://";
  const std::size_t host = url.find(kBehindScheme);
  const std::size_t path =
      host == std::string_view::npos ? host : url.find('/', host + kBehindScheme.size());
  if (path == std::string_view::npos) return {};
  std::string levels;
  for (std::string_view rest = url.substr(path + 1); !rest.empty();) {
    levels += LevelOf(WithoutPercents(TakeUpTo(rest, '/')));
  }
  return levels;
}

}  // namespace

void SpecialUse::TakeAttributes(std::string_view text) {
  while (!text.empty()) {
    const std::string_view number = NumberIn(TakeUpTo(text, '\n'));
    const auto use = UseIn(TakeUpTo(text, '\n'));
    if (use && !number.empty()) m_uses.emplace(number, *use);
  }
}

std::optional<SpecialFolder> SpecialUse::Of(std::string_view uidList) const {
  const auto use = m_uses.find(NumberInList(uidList));
  return use == m_uses.end() ? std::nullopt : std::optional(use->second);
}

void SpecialUse::See(const SourceFolder& folder, Listing& listing) {
  const auto text = [&](std::string_view name, std::uint64_t most) {
    return HeadOfFile(folder.path + "/" + std::string(name), most);
  };
  if (folder.levels.empty()) TakeAttributes(text(kAttributes, kMostText));
  if (m_uses.empty() || folder.levels.empty()) return;
  if (const auto use = Of(text(kUidList, kMostFirstLine))) {
    listing.marks.emplace(folder.levels, *use);
  }
}

void AddMarksOfPrefs(std::string_view prefs, FolderMarks& marks) {
  const auto add = [&](const std::string& levels, SpecialFolder folder) {
    if (!levels.empty() && !NamesSpecialFolder(levels)) marks.emplace(levels, folder);
  };
  EachPref(prefs, "mail.identity.", [&](std::string_view key, const std::string& url) {
    for (const Mark& pref : kPrefs) {
      if (key.ends_with(pref.name)) add(LevelsIn(url), pref.folder);
    }
  });
  for (const auto& [name, server] : MailServersIn(prefs)) {
    add(LevelsOf(server.trash), SpecialFolder::kDeleted);
    if (server.isJunkMoved && server.isJunkChosen) add(LevelsIn(server.junk), SpecialFolder::kJunk);
  }
}

void AddFoldersOfPrefs(const SourceFolder& profile, Listing& listing) {
  if (!profile.levels.empty()) return;
  AddMarksOfPrefs(TextOfFile(profile.path + "/prefs.js"), listing.marks);
}

}  // namespace client
