#include "client/sources/EmlSource.h"

#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <map>

#include "base/AsciiText.h"
#include "client/sources/CutParts.h"
#include "client/sources/DboxStore.h"
#include "client/sources/Emlx.h"
#include "client/sources/FolderNames.h"
#include "client/sources/FolderWalk.h"
#include "client/sources/HashedName.h"
#include "client/sources/IcsFile.h"
#include "client/sources/ItemNames.h"
#include "client/sources/MailProfiles.h"
#include "client/sources/Maildir.h"
#include "client/sources/MissingMail.h"
#include "client/sources/Names.h"
#include "client/sources/OtherFiles.h"
#include "client/sources/OtherTreeFiles.h"
#include "client/sources/PathParts.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/SpecialUse.h"
#include "client/sources/StoreBelow.h"
#include "client/sources/TagNames.h"
#include "client/sources/ThunderbirdProfile.h"
#include "client/sources/VcfFile.h"
#include "mime/MailHeader.h"

namespace client {
namespace {

void AddCalendar(const std::string& path, const std::string& levels, Listing& listing) {
  std::vector<SourceItem> found;
  ListIcsFile(path, levels, found, listing.problems);
  for (const SourceItem& item : found) listing.items.Add(item);
}

void AddCards(const std::vector<std::string>& paths, const std::string& levels, Listing& listing) {
  std::vector<SourceItem> found;
  ListVcfFiles(paths, TargetOfKind("Contacts\\", levels), found, listing.problems);
  for (const SourceItem& item : found) listing.items.Add(item);
}

void AddFile(const SourceFolder& folder, const FolderEntry& entry, const OtherTreeFiles& others,
             Listing& listing) {
  const ItemFile file = ItemFileOf(entry.name);
  if (IsOfMac(entry.name)) {
    others.TakeHidden(entry, listing);
  } else if (file == ItemFile::kMail) {
    others.TakeEml(entry, listing);
  } else if (file == ItemFile::kCalendar) {
    AddCalendar(folder.path + "/" + entry.name, folder.levels, listing);
  } else if (entry.name.starts_with('.')) {
    others.TakeHidden(entry, listing);
  } else {
    others.Take(entry, listing);
  }
}

void AddEntry(const SourceFolder& folder, const FolderEntry& entry, const OtherTreeFiles& others,
              Listing& listing, std::vector<SourceFolder>& below) {
  const std::string path = folder.path + "/" + entry.name;
  if (entry.kind == EntryKind::kFolder) {
    if (IsFolderBesideMail(folder, entry.name)) return;
    if (auto store = DboxStoreAt(path)) return listing.problems.push_back(*std::move(store));
    if (auto older = OlderAppleMailAt(folder, entry.name)) {
      return listing.problems.push_back(*std::move(older));
    }
    below.push_back({path, folder.levels + others.LevelsOfFolder(entry.name), folder.levels,
                     folder.isInMaildir, others.IsServers()});
  } else if (entry.kind == EntryKind::kFile) {
    AddFile(folder, entry, others, listing);
  } else {
    listing.problems.push_back(OddEntry(path, entry.kind));
  }
}

// Of a program's own files a folder of it may have some, and no mail.
bool IsNothing(const SourceFolder& folder, const FolderEntry& entry) {
  if (entry.kind != EntryKind::kFile) return false;
  const bool isApples = AppleMailboxOf(folder.path) == folder.path;
  return entry.name.starts_with('.') || (isApples && IsBesideMail(entry.name));
}

void TakeTreeFolder(SourceFolder folder, MboxKind mbox, TrueNames& names, Listing& listing,
                    std::vector<SourceFolder>& below) {
  const bool isMaildir = IsMaildir(folder.path);
  const bool isServers = folder.isInMaildir;  // no Maildir, and in one
  folder.isInMaildir = folder.isInMaildir || isMaildir;
  if (isMaildir) ListMaildirFolder(folder, listing);
  NameProfilesElsewhere(folder.path, listing.problems);
  const OtherTreeFiles others(folder, mbox, names, listing.problems);
  bool holdsNothing = true;
  std::vector<std::string> cards;
  EachEntry(folder.path, listing.problems, [&](const FolderEntry& entry) {
    holdsNothing = holdsNothing && IsNothing(folder, entry);
    const bool isFile = entry.kind == EntryKind::kFile;
    if (isMaildir && !isFile && IsMaildirPart(entry.name)) return;
    if (isFile && ItemFileOf(entry.name) == ItemFile::kCards && !IsOfMac(entry.name)) {
      cards.push_back(folder.path + "/" + entry.name);
    } else {
      AddEntry(folder, entry, others, listing, below);
    }
  });
  AddCards(cards, folder.levels, listing);
  // One that holds something is made with it, and may be for items of another kind than mail.
  if (holdsNothing && !isServers) listing.folders.push_back(TargetOf(folder.levels));
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
    if (ItemFileOf(m_path) == ItemFile::kCalendar) {
      AddCalendar(m_path, "", listing);
    } else if (ItemFileOf(m_path) == ItemFile::kCards) {
      AddCards({m_path}, "", listing);
    } else {
      ListEml({m_path, std::string(kInbox), true, 0, size}, m_mbox, listing);
    }
    return listing;
  }
  std::map<std::string, TagNames> profiles;  // by path
  MailAccounts accounts;
  TrueNames names;
  SpecialUse uses;
  const std::string store = StoreBelow(m_path);
  Listing listing = WalkFolders(
      m_path, [&](const SourceFolder& folder, Listing& found, std::vector<SourceFolder>& below) {
        if (IsAboveAccounts(folder.path)) accounts.above.push_back(folder.path);
        if (TakeProfile(folder, m_path, accounts, found, below)) {
          profiles.emplace(folder.path + "/", TagsOfProfile(folder.path));
          AddFoldersOfPrefs(folder, found);
        } else {
          uses.See(folder, found);
          TakeTreeFolder(folder, m_mbox, names, found, below);
          if (!store.empty()) DropLevelsAbove(store, folder.levels, below);
        }
      });
  NameTags(profiles, listing);
  NameMissingMail(m_path, accounts, names, listing);
  return listing;
}

bool EmlSource::IsOne(const std::string& path) {
  const ItemFile file = ItemFileOf(path);
  return file != ItemFile::kNone && file != ItemFile::kAppleMail;
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

void EmlSource::AddFiles(const SourceItem& item, std::string& bytes, FilesBeside& files) const {
  if (!item.file.empty()) return m_eudora.AddTo(item.file, bytes, files);
  if (IsPartialEmlxName(item.location)) AddCutParts(item.location, bytes, files);
}

// So mail programs mark a file that is to be opened for writing on. In a store it is its sender's
// word.
void EmlSource::AddState(const SourceItem& item, std::string_view bytes, MailState& state) const {
  if (ItemFileOf(item.location) != ItemFile::kMail) return;
  if (::mail::trimmed(::mail::MailHeader(bytes).text("X-Unsent")) != "1") return;
  const bool isInStore = HoldsMailOfMaildir(std::string(FolderOf(item.location)));
  state.draft = state.draft || !isInStore;
}

}  // namespace client
