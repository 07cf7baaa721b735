#include "client/sources/EmlSource.h"

#include <sys/stat.h>

#include <iterator>
#include <map>

#include "base/AsciiText.h"
#include "client/sources/FolderWalk.h"
#include "client/sources/IcsFile.h"
#include "client/sources/MaildirSource.h"
#include "client/sources/Names.h"
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

void AddCards(const SourceFolder& folder, const std::vector<FolderEntry>& entries,
              std::vector<SourceItem>& items, std::vector<SourceProblem>& problems) {
  std::vector<std::string> paths;
  for (const FolderEntry& entry : entries) {
    if (entry.kind == EntryKind::kFile && IsCardName(entry.name)) {
      paths.push_back(folder.path + "/" + entry.name);
    }
  }
  ListVcfFiles(paths, std::string(kContacts) + folder.levels, items, problems);
}

void AddEntry(const SourceFolder& folder, const FolderEntry& entry, const OtherTreeFiles& others,
              Listing& listing, std::vector<SourceFolder>& below) {
  auto& [items, problems, folders] = listing;
  const std::string path = folder.path + "/" + entry.name;
  if (entry.kind == EntryKind::kFolder) {
    if (IsFolderBesideMail(folder, entry.name)) return;
    below.push_back({path, folder.levels + LevelsOfFolder(folder, entry.name), folder.levels});
  } else if (entry.kind == EntryKind::kFile && EndsWithNoCase(entry.name, ".eml")) {
    items.push_back({path, TargetOf(folder.levels), true, 0, entry.size});
  } else if (entry.kind == EntryKind::kFile && IsCalendarName(entry.name)) {
    ListIcsFile(path, folder.levels, items, problems);
  } else if (entry.kind == EntryKind::kFile && IsCardName(entry.name)) {
    // Together with those beside it.
  } else if (entry.kind == EntryKind::kFile && entry.name.starts_with('.')) {
    // What systems leave in folders: nobody's mail, and no news to anyone.
  } else if (entry.kind == EntryKind::kFile) {
    others.Take(entry, listing);
  } else {
    problems.push_back(OddEntry(path, entry.kind));
  }
}

void TakeTreeFolder(const SourceFolder& folder, const std::vector<FolderEntry>& entries,
                    MboxKind mbox, Listing& listing, std::vector<SourceFolder>& below) {
  // One that holds something is made with it, and may be for items of another kind than mail.
  if (entries.empty()) listing.folders.push_back(TargetOf(folder.levels));
  const bool isMaildir = MaildirSource::IsMaildir(folder.path);
  if (isMaildir) ListMaildirFolder(folder, listing);
  const OtherTreeFiles others(folder, entries, mbox);
  for (const FolderEntry& entry : entries) {
    if (isMaildir && IsMaildirPart(entry.name)) continue;
    AddEntry(folder, entry, others, listing, below);
  }
  AddCards(folder, entries, listing.items, listing.problems);
}

// Each profile has names of its own; none lies in another.
void NameTags(const std::map<std::string, TagNames>& profiles, Listing& listing) {
  for (SourceItem& item : listing.items) {
    if (item.state.categories.empty()) continue;
    const auto behind = profiles.upper_bound(item.location);
    if (behind == profiles.begin()) continue;
    const auto& [path, tags] = *std::prev(behind);
    if (item.location.starts_with(path)) tags.Apply(item.state);
  }
}

}  // namespace

Listing EmlSource::List() const {
  struct stat status;
  if (stat(m_path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
    const auto size = static_cast<std::uint64_t>(status.st_size);
    Listing listing;
    auto& [items, problems, folders] = listing;
    if (IsCalendarName(m_path)) {
      ListIcsFile(m_path, "", items, problems);
    } else if (IsCardName(m_path)) {
      ListVcfFiles({m_path}, std::string(kContacts), items, problems);
    } else {
      items.push_back({m_path, std::string(kInbox), true, 0, size});
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
      return ReadTreeMail(item, m_mbox);
  }
}

// So mail programs mark a file that is to be opened for writing on.
void EmlSource::AddState(std::string_view bytes, MailState& state) const {
  if (::mail::trimmed(::mail::MailHeader(bytes).text("X-Unsent")) == "1") state.draft = true;
}

}  // namespace client
