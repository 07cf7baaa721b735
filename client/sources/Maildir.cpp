#include "client/sources/Maildir.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "client/sources/CourierKeywords.h"
#include "client/sources/DovecotKeywords.h"
#include "client/sources/FirstNumber.h"
#include "client/sources/MaildirName.h"
#include "client/sources/ModifiedUtf7.h"
#include "client/sources/MovedMail.h"
#include "client/sources/Names.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/SpecialUse.h"

namespace client {
namespace {

bool IsFolder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// One that cannot be read may be a mail.
bool BeginsWithField(const std::string& path) {
  constexpr std::uint64_t kHead = 1024;  // bytes
  try {
    return LooksLikeField(WithoutRelayTrace(ReadFileRange(path, 0, kHead)));
  } catch (const SourceError&) {
    return true;
  }
}

// Without a place for letters a name may be that of any file which begins with a number.
bool HasMail(const std::string& part) {
  return HasName(part, [&](std::string_view name) {
    return IsMaildirName(name) &&
           (ParseMaildirName(name).hasState || BeginsWithField(part + "/" + std::string(name)));
  });
}

DovecotKeywords KeywordsOf(const std::string& folder, Listing& listing) {
  constexpr std::uint64_t kMost = 65536;  // bytes; that of a sound folder has few and short lines
  const std::string path = folder + "/dovecot-keywords";
  DovecotKeywords keywords(HeadOfFile(path, kMost));
  if (const std::size_t count = keywords.WithoutLetter(); count > 0) {
    listing.problems.push_back(
        {path, fmt::format("{} of its keywords stay behind: a server gives letters to 26 and notes "
                           "of the others in its index alone which mails have them",
                           count)});
  }
  return keywords;
}

// A program that delivers puts the time into the name; one that takes in old mail sets the time of
// the file back as well, and one that copies mailboxes may do so, too. Either may be that of a
// copy, which is never the earlier one. An archive without times leaves a file one that cannot be.
std::optional<std::int64_t> ReceivedAt(const FolderEntry& entry, const MaildirName& name) {
  constexpr std::int64_t kSlack = 86400;  // seconds that a copy may take
  if (!name.time) return std::nullopt;
  const bool isFilesOwn = entry.modified >= kFirstTime;
  if (name.isCopy && (!isFilesOwn || entry.modified > *name.time - kSlack)) return std::nullopt;
  return isFilesOwn ? std::min(entry.modified, *name.time) : *name.time;
}

// Of one Maildir.
struct FolderKeywords {
  DovecotKeywords byLetter;
  CourierKeywords byName;
};

MailState StateOf(const FolderEntry& entry, const MaildirName& name,
                  const FolderKeywords& keywords) {
  MailState state;
  state.answered = name.Has('R');
  state.forwarded = name.Has('P');
  state.flagged = name.Has('F');
  state.draft = name.Has('D');
  state.deleted = name.Has('T');
  state.received = ReceivedAt(entry, name);
  for (const char letter : name.letters) AddKeyword(keywords.byLetter.Of(letter), state);
  for (const std::string& keyword : keywords.byName.Of(entry.name)) AddKeyword(keyword, state);
  return state;
}

using Decode = std::string (*)(std::string_view name);

// ".Sub.Deeper" as levels below the target of the Maildir that it stands in.
std::string DotLevels(std::string_view name, Decode decode) {
  std::string levels;
  while (!name.empty()) {
    const size_t dot = name.find('.');
    const std::string_view level = name.substr(0, dot);
    if (!level.empty()) levels += LevelName(decode(level)) + "\\";
    if (dot == std::string_view::npos) break;
    name.remove_prefix(dot + 1);
  }
  return levels;
}

// While one Maildir is listed.
struct OneMaildir {
  const SourceFolder& folder;
  bool hasNew;
  FolderKeywords keywords;
  MovedMail moved = {};

  // Where a mail of new/ lies in cur/ by now; empty for one that does not.
  std::string PlaceInCur(const std::string& path) {
    std::string place = moved.WhereMoved(path);
    const bool isInCur =
        path.starts_with(folder.path + "/new/") && place.starts_with(folder.path + "/cur/");
    return isInCur ? place : std::string();
  }
};

// Whoever moves a mail from new/ to cur/ moves it to what is listed next.
void AddOdd(const std::string& path, EntryKind kind, OneMaildir& maildir, Listing& listing) {
  if (!maildir.PlaceInCur(path).empty()) return;
  const bool hasMoved = !maildir.moved.WhereMoved(path).empty();
  listing.problems.push_back(
      hasMoved ? SourceProblem{path, "it got another name just now: run again", /*isUnread=*/true}
               : OddEntry(path, kind));
}

// What has no place for letters in a Maildir without new/ is of a program that keeps its state
// elsewhere.
void AddMails(const char* part, OneMaildir& maildir, Listing& listing) {
  const std::string path = maildir.folder.path + "/" + part;
  EachEntry(path, listing.problems, [&](const FolderEntry& entry) {
    if (entry.name.starts_with('.')) return;
    const std::string file = path + "/" + entry.name;
    if (entry.kind != EntryKind::kFile) return AddOdd(file, entry.kind, maildir, listing);
    const MaildirName name = ParseMaildirName(entry.name);
    const bool isRead = name.Has('S') || (!maildir.hasNew && !name.hasState);
    SourceItem item{file, TargetOf(maildir.folder.levels), isRead, 0, entry.size};
    item.state = StateOf(entry, name, maildir.keywords);
    listing.items.Add(item);
  });
}

// The mails of cur/, which stand in a list in the order of their places.
class ListedInCur {
 public:
  ListedInCur(const ItemList& items, std::size_t first)
      : m_items(items), m_first(first), m_size(items.size() - first) {}

  // True for the first that asks for one that is there.
  bool Take(const std::string& place) {
    const auto locationOf = [&](std::size_t number) { return m_items[m_first + number].location; };
    const std::size_t found =
        FirstNumber(0, m_size, [&](std::size_t number) { return locationOf(number) >= place; });
    if (found == m_size || locationOf(found) != place) return false;
    m_taken.resize(m_size);
    const bool isFirst = !m_taken[found];
    m_taken[found] = true;
    return isFirst;
  }

 private:
  const ItemList& m_items;
  std::size_t m_first;
  std::size_t m_size;
  std::vector<bool> m_taken = {};
};

// One that moved between the two listings stands in both; it comes as the later one has it.
void AddNewOnes(ItemList& newOnes, std::size_t firstOfCur, OneMaildir& maildir, ItemList& items) {
  ListedInCur cur(items, firstOfCur);
  newOnes.TakeAll([&](const SourceItem& item) {
    const std::string place = maildir.PlaceInCur(item.location);
    if (place.empty() || !cur.Take(place)) items.Add(item);
  });
}

}  // namespace

bool IsMaildir(const std::string& path) {
  const bool hasCur = IsFolder(path + "/cur");
  const bool hasNew = IsFolder(path + "/new");
  if (hasCur && (hasNew || IsFolder(path + "/tmp"))) return true;
  return (hasCur && HasMail(path + "/cur")) || (hasNew && HasMail(path + "/new"));
}

bool HoldsMailOfMaildir(const std::string& path) {
  const std::filesystem::path folder(path);
  const std::string maildir = folder.parent_path().string();
  return (folder.filename() == "cur" || folder.filename() == "new") &&
         IsMaildir(maildir.empty() ? "." : maildir);
}

bool IsMaildirPart(std::string_view name) {
  return name == "cur" || name == "new" || name == "tmp";
}

std::string MaildirLevels(const std::string& parent, std::string_view name) {
  constexpr std::string_view kDirectory = ".directory";
  const bool isUtf8 = HasEntry(parent, "..maildir++");
  const Decode decode =
      isUtf8 ? [](std::string_view plain) { return std::string(plain); } : &FromModifiedUtf7;
  if (!name.starts_with('.')) return LevelName(decode(name)) + "\\";
  if (name.size() > kDirectory.size() + 1 && name.ends_with(kDirectory)) {
    return LevelName(name.substr(1, name.size() - 1 - kDirectory.size())) + "\\";
  }
  return DotLevels(name, decode);
}

void ListMaildirFolder(const SourceFolder& folder, Listing& listing) {
  OneMaildir maildir{
      folder,
      IsFolder(folder.path + "/new"),
      {KeywordsOf(folder.path, listing), CourierKeywords(folder.path, listing.problems)}};
  listing.folders.push_back(TargetOf(folder.levels));
  // Those of cur/ come first; but what moves there meanwhile must not be missed.
  Listing newOnes;
  if (maildir.hasNew) AddMails("new", maildir, newOnes);
  const std::size_t first = listing.items.size();
  if (IsFolder(folder.path + "/cur")) AddMails("cur", maildir, listing);
  AddNewOnes(newOnes.items, first, maildir, listing.items);
  std::ranges::move(newOnes.problems, std::back_inserter(listing.problems));
}

}  // namespace client
