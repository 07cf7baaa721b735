#include "client/EmlSource.h"

#include <sys/stat.h>

#include <algorithm>

#include "client/ItemWriter.h"
#include "client/Names.h"
#include "client/SourceFiles.h"

namespace client {
namespace {

struct PendingFolder {
  std::string path;
  std::string target;  // empty for the root
  std::string parent;  // target of the folder that it lies in
};

const std::string& TargetOf(const std::string& levels) {
  static const std::string kRoot(kInbox);
  return levels.empty() ? kRoot : levels;
}

bool IsPreparedItem(const std::vector<FolderEntry>& entries) {
  return std::any_of(entries.begin(), entries.end(), [](const FolderEntry& entry) {
    return entry.kind == EntryKind::kFile && entry.name == kDescriptorName;
  });
}

SourceItem PreparedItemOf(const PendingFolder& folder, const std::vector<FolderEntry>& entries) {
  SourceItem item{folder.path, TargetOf(folder.parent), true, 0, 0, true};
  for (const FolderEntry& entry : entries) {
    if (entry.kind == EntryKind::kFile) item.length += entry.size;
  }
  return item;
}

void AddEntry(const PendingFolder& folder, const FolderEntry& entry, std::vector<SourceItem>& items,
              std::vector<PendingFolder>& below, std::vector<SourceProblem>& problems) {
  const std::string path = folder.path + "/" + entry.name;
  if (entry.kind == EntryKind::kFolder) {
    below.push_back({path, folder.target + LevelName(entry.name) + "\\", folder.target});
  } else if (entry.kind == EntryKind::kFile && EndsWithNoCase(entry.name, ".eml")) {
    items.push_back({path, TargetOf(folder.target), true, 0, entry.size});
  } else if (entry.kind == EntryKind::kFile && entry.name.starts_with('.')) {
    // What systems leave in folders: nobody's mail, and no news to anyone.
  } else if (entry.kind == EntryKind::kFile) {
    problems.push_back({path, "its name does not end in .eml"});
  } else if (entry.kind == EntryKind::kFolderLink) {
    problems.push_back({path, "a link to a folder"});
  } else {
    problems.push_back({path, "neither a file nor a folder, or a dead link"});
  }
}

}  // namespace

std::vector<SourceItem> EmlSource::List(std::vector<SourceProblem>& problems) const {
  struct stat status;
  std::vector<SourceItem> items;
  if (stat(m_path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
    const auto size = static_cast<std::uint64_t>(status.st_size);
    items.push_back({m_path, std::string(kInbox), true, 0, size});
    return items;
  }
  // A stack of our own: the depth of a tree is no limit of ours. A folder's own mail comes before
  // that of the folders below it.
  std::vector<PendingFolder> pending = {{m_path, "", ""}};
  while (!pending.empty()) {
    const PendingFolder folder = std::move(pending.back());
    pending.pop_back();
    std::vector<PendingFolder> below;
    const std::vector<FolderEntry> entries = ListFolder(folder.path, problems);
    if (IsPreparedItem(entries)) {
      items.push_back(PreparedItemOf(folder, entries));
      continue;
    }
    for (const FolderEntry& entry : entries) {
      AddEntry(folder, entry, items, below, problems);
    }
    pending.insert(pending.end(), below.rbegin(), below.rend());
  }
  return items;
}

std::string EmlSource::Read(const SourceItem& item) const {
  std::string bytes = ReadWholeFile(item.location);
  RequireMail(bytes);
  return bytes;
}

}  // namespace client
