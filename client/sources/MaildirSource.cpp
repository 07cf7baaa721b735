#include "client/sources/MaildirSource.h"

#include <sys/stat.h>

#include <string_view>

#include "client/sources/FolderWalk.h"
#include "client/sources/ModifiedUtf7.h"
#include "client/sources/Names.h"
#include "client/sources/SourceFiles.h"

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

bool IsPart(std::string_view name) { return name == "cur" || name == "new" || name == "tmp"; }

// ".Sub.Deeper" of Maildir++ or a plain name, as levels below the folder that it stands in.
std::string LevelsOf(std::string_view name) {
  return name.starts_with('.') ? DotLevels(name) : LevelName(FromModifiedUtf7(name)) + "\\";
}

// The files that programs keep beside the folders of a Maildir are no mail.
void AddFolder(const SourceFolder& folder, const FolderEntry& entry,
               std::vector<SourceFolder>& below, std::vector<SourceProblem>& problems) {
  const std::string path = folder.path + "/" + entry.name;
  if (entry.kind == EntryKind::kFolder) {
    below.push_back({path, folder.levels + LevelsOf(entry.name), folder.levels});
  } else if (entry.kind == EntryKind::kFolderLink) {
    problems.push_back(OddEntry(path, entry.kind));
  }
}

void AddMails(const SourceFolder& folder, const char* part, std::vector<SourceItem>& items,
              std::vector<SourceProblem>& problems) {
  const std::string path = folder.path + "/" + part;
  for (const FolderEntry& entry : ListFolder(path, problems)) {
    if (entry.name.starts_with('.')) continue;
    if (entry.kind != EntryKind::kFile) {
      problems.push_back(OddEntry(path + "/" + entry.name, entry.kind));
      continue;
    }
    const bool read = std::string_view(part) == "cur" && !IsUnread(entry.name);
    items.push_back({path + "/" + entry.name, TargetOf(folder.levels), read, 0, entry.size});
  }
}

}  // namespace

bool MaildirSource::IsMaildir(const std::string& path) {
  return IsFolder(path + "/cur") && IsFolder(path + "/new");
}

std::vector<SourceItem> MaildirSource::List(std::vector<SourceProblem>& problems) const {
  return WalkFolders(m_path, problems,
                     [&](const SourceFolder& folder, const std::vector<FolderEntry>& entries,
                         std::vector<SourceItem>& items, std::vector<SourceFolder>& below) {
                       const bool maildir = IsMaildir(folder.path);
                       if (maildir) {
                         AddMails(folder, "cur", items, problems);
                         AddMails(folder, "new", items, problems);
                       }
                       for (const FolderEntry& entry : entries) {
                         if (maildir && IsPart(entry.name)) continue;
                         AddFolder(folder, entry, below, problems);
                       }
                     });
}

std::string MaildirSource::Read(const SourceItem& item) const { return ReadMail(item.location); }

}  // namespace client
