#include "client/MaildirSource.h"

#include <sys/stat.h>

#include <string_view>

#include "client/ModifiedUtf7.h"
#include "client/Names.h"
#include "client/SourceFiles.h"

namespace client {
namespace {

bool IsFolder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsUnread(std::string_view fileName) {
  const size_t info = fileName.rfind(":2,");
  return info == std::string_view::npos || fileName.find('S', info) == std::string_view::npos;
}

// ".Sub.Deeper" as levels below the target of the Maildir that it stands in.
std::string DotLevels(std::string_view name) {
  std::string levels;
  while (!name.empty()) {
    const size_t dot = name.find('.');
    const std::string_view level = name.substr(0, dot);
    if (!level.empty()) levels += LevelName(FromModifiedUtf7(level)) + "\\";
    if (dot == std::string_view::npos) break;
    name.remove_prefix(dot + 1);
  }
  return levels;
}

struct PendingFolder {
  std::string path;
  std::string target;  // empty for the root
};

void AddMails(const PendingFolder& folder, const char* part, std::vector<SourceItem>& items,
              std::vector<SourceProblem>& problems) {
  const std::string target = folder.target.empty() ? std::string(kInbox) : folder.target;
  const std::string path = folder.path + "/" + part;
  for (const FolderEntry& entry : ListFolder(path, problems)) {
    if (entry.kind != EntryKind::kFile || entry.name.starts_with('.')) continue;
    const bool read = std::string_view(part) == "cur" && !IsUnread(entry.name);
    items.push_back({path + "/" + entry.name, target, read, 0, entry.size});
  }
}

}  // namespace

bool MaildirSource::IsMaildir(const std::string& path) {
  return IsFolder(path + "/cur") && IsFolder(path + "/new");
}

std::vector<SourceItem> MaildirSource::List(std::vector<SourceProblem>& problems) const {
  std::vector<SourceItem> items;
  std::vector<PendingFolder> pending = {{m_path, ""}};
  while (!pending.empty()) {
    const PendingFolder folder = std::move(pending.back());
    pending.pop_back();
    const bool maildir = IsMaildir(folder.path);
    if (maildir) {
      AddMails(folder, "cur", items, problems);
      AddMails(folder, "new", items, problems);
    }
    std::vector<PendingFolder> below;
    for (const FolderEntry& entry : ListFolder(folder.path, problems)) {
      if (entry.kind != EntryKind::kFolder) continue;
      if (maildir && (entry.name == "cur" || entry.name == "new" || entry.name == "tmp")) continue;
      const std::string path = folder.path + "/" + entry.name;
      const std::string levels = entry.name.starts_with('.')
                                     ? DotLevels(entry.name)
                                     : LevelName(FromModifiedUtf7(entry.name)) + "\\";
      below.push_back({path, folder.target + levels});
    }
    pending.insert(pending.end(), below.rbegin(), below.rend());
  }
  return items;
}

std::string MaildirSource::Read(const SourceItem& item) const {
  std::string bytes = ReadWholeFile(item.location);
  RequireMail(bytes);
  return bytes;
}

}  // namespace client
