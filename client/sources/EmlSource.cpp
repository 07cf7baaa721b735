#include "client/sources/EmlSource.h"

#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <map>

#include "base/AsciiText.h"
#include "client/sources/FolderNames.h"
#include "client/sources/FolderWalk.h"
#include "client/sources/IcsFile.h"
#include "client/sources/MaildirSource.h"
#include "client/sources/Names.h"
#include "client/sources/OtherFiles.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/TagNames.h"
#include "client/sources/TreeEntries.h"
#include "client/sources/VcfFile.h"
#include "mime/MailHeader.h"

namespace client {
namespace {

constexpr std::string_view kContacts = "Contacts\\";

bool IsCalendarName(std::string_view name) {
  return EndsWithNoCase(name, ".ics") || EndsWithNoCase(name, ".vcs");
}
bool IsCardName(std::string_view name) { return EndsWithNoCase(name, ".vcf"); }

void AddCalendar(const std::string& path, const std::string& levels, Listing& listing) {
  std::vector<SourceItem> found;
  ListIcsFile(path, levels, found, listing.problems);
  for (const SourceItem& item : found) listing.items.Add(item);
}

void AddCards(const std::vector<std::string>& paths, const std::string& levels, Listing& listing) {
  std::vector<SourceItem> found;
  ListVcfFiles(paths, std::string(kContacts) + levels, found, listing.problems);
  for (const SourceItem& item : found) listing.items.Add(item);
}

void AddCardsOf(const SourceFolder& folder, const std::vector<FolderEntry>& entries,
                Listing& listing) {
  std::vector<std::string> paths;
  for (const FolderEntry& entry : entries) {
    if (entry.kind == EntryKind::kFile && IsCardName(entry.name)) {
      paths.push_back(folder.path + "/" + entry.name);
    }
  }
  AddCards(paths, folder.levels, listing);
}

void AddEntry(const SourceFolder& folder, const FolderEntry& entry, const OtherTreeFiles& others,
              Listing& listing, std::vector<SourceFolder>& below) {
  const std::string path = folder.path + "/" + entry.name;
  if (entry.kind == EntryKind::kFolder) {
    if (IsFolderBesideMail(folder, entry.name)) return;
    below.push_back({path, folder.levels + others.LevelsOfFolder(entry.name), folder.levels,
                     folder.isInMaildir});
  } else if (entry.kind == EntryKind::kFile && EndsWithNoCase(entry.name, ".eml")) {
    listing.items.Add({path, TargetOf(folder.levels), true, 0, entry.size});
  } else if (entry.kind == EntryKind::kFile && IsCalendarName(entry.name)) {
    AddCalendar(path, folder.levels, listing);
  } else if (entry.kind == EntryKind::kFile && IsCardName(entry.name)) {
    // Together with those beside it.
  } else if (entry.kind == EntryKind::kFile && entry.name.starts_with('.')) {
    others.TakeHidden(entry, listing);
  } else if (entry.kind == EntryKind::kFile) {
    others.Take(entry, listing);
  } else {
    listing.problems.push_back(OddEntry(path, entry.kind));
  }
}

// Of a program's own files a folder of it may have some, and no mail.
bool HoldsNothing(const SourceFolder& folder, const std::vector<FolderEntry>& entries) {
  const bool isApples = AppleMailboxOf(folder.path) == folder.path;
  return std::ranges::all_of(entries, [&](const FolderEntry& entry) {
    return entry.kind == EntryKind::kFile &&
           (entry.name.starts_with('.') || (isApples && IsBesideMail(entry.name)));
  });
}

void TakeTreeFolder(SourceFolder folder, const std::vector<FolderEntry>& entries, MboxKind mbox,
                    Listing& listing, std::vector<SourceFolder>& below) {
  // One that holds something is made with it, and may be for items of another kind than mail. What
  // is no Maildir in a Maildir is its server's.
  if (!folder.isInMaildir && HoldsNothing(folder, entries)) {
    listing.folders.push_back(TargetOf(folder.levels));
  }
  const bool isMaildir = IsMaildir(folder.path);
  folder.isInMaildir = folder.isInMaildir || isMaildir;
  if (isMaildir) ListMaildirFolder(folder, listing);
  const OtherTreeFiles others(folder, entries, mbox);
  for (const FolderEntry& entry : entries) {
    if (isMaildir && IsMaildirPart(entry.name)) continue;
    AddEntry(folder, entry, others, listing, below);
  }
  AddCardsOf(folder, entries, listing);
}

// Each profile has names of its own; none lies in another.
void NameTags(const std::map<std::string, TagNames>& profiles, Listing& listing) {
  if (profiles.empty()) return;
  ItemList named;
  listing.items.TakeAll([&](SourceItem item) {
    const auto behind = profiles.upper_bound(item.location);
    if (behind != profiles.begin()) {
      const auto& [path, tags] = *std::prev(behind);
      if (item.location.starts_with(path)) tags.Apply(item.state);
    }
    named.Add(item);
  });
  listing.items = std::move(named);
}

}  // namespace

Listing EmlSource::List() const {
  struct stat status;
  if (stat(m_path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
    const auto size = static_cast<std::uint64_t>(status.st_size);
    Listing listing;
    if (IsCalendarName(m_path)) {
      AddCalendar(m_path, "", listing);
    } else if (IsCardName(m_path)) {
      AddCards({m_path}, "", listing);
    } else {
      listing.items.Add({m_path, std::string(kInbox), true, 0, size});
    }
    return listing;
  }
  std::map<std::string, TagNames> profiles;  // by path
  Listing listing =
      WalkFolders(m_path, [&](const SourceFolder& folder, const std::vector<FolderEntry>& entries,
                              Listing& found, std::vector<SourceFolder>& below) {
        if (TakeProfile(folder, entries, found, below)) {
          profiles.emplace(folder.path + "/", TagsOfProfile(folder.path));
        } else {
          TakeTreeFolder(folder, entries, m_mbox, found, below);
        }
      });
  NameTags(profiles, listing);
  return listing;
}

bool EmlSource::IsOne(const std::string& path) {
  return EndsWithNoCase(path, ".eml") || IsCalendarName(path) || IsCardName(path);
}

std::string EmlSource::Read(const SourceItem& item) const {
  switch (item.type) {
    case TYPE_CALENDER:
    case TYPE_TASK:
      return ReadIcsItem(item);
    case TYPE_CONTACT:
    case TYPE_DIST_LIST:
      return ReadVcfItem(item);
    default:
      return ReadTreeMail(item, m_mbox, m_moved);
  }
}

// So mail programs mark a file that is to be opened for writing on. In a store it is its sender's
// word.
void EmlSource::AddState(const SourceItem& item, std::string_view bytes, MailState& state) const {
  if (!EndsWithNoCase(item.location, ".eml")) return;
  if (::mail::trimmed(::mail::MailHeader(bytes).text("X-Unsent")) != "1") return;
  const bool isInStore = HoldsMailOfMaildir(item.location.substr(0, item.location.rfind('/')));
  state.draft = state.draft || !isInStore;
}

}  // namespace client
