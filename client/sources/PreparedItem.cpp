#include "client/sources/PreparedItem.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include "pipeline/ItemDescriptor.h"
#include "platform/Sha256.h"

namespace client {
namespace {

constexpr std::string_view kImageList = "imageattchment.txt";  // sic

// The file of that name in an item, which every failure names.
OpenedFile OpenNamed(const std::string& folder, const std::string& name) {
  try {
    return OpenSourceFile(folder + "/" + name, Links::kRefuse);
  } catch (const SourceError& error) {
    throw SourceError(name + " " + error.what());
  }
}

}  // namespace

void ReadPreparedFile(const std::string& folder, const std::string& name,
                      const std::function<void(std::string_view)>& take) {
  const OpenedFile opened = OpenNamed(folder, name);
  try {
    ReadPieces(opened, take);
  } catch (const SourceError& error) {
    throw SourceError(name + " " + error.what());
  }
}

bool HoldsDescriptor(const std::string& folder) {
  struct stat status;
  return stat((folder + "/").append(kDescriptorName).c_str(), &status) == 0 &&
         S_ISREG(status.st_mode);
}

SourceItem PreparedItemAt(const std::string& folder, const std::string& target,
                          std::vector<SourceProblem>& problems) {
  SourceItem item;
  item.location = folder;
  item.folder = target;
  item.prepared = true;
  EachEntry(folder, problems, [&](const FolderEntry& entry) {
    if (entry.kind == EntryKind::kFile) item.length += entry.size;
  });
  return item;
}

ST_EML_INFO ReadPreparedItem(const std::string& folder) {
  const std::string name(kDescriptorName);
  const OpenedFile opened = OpenNamed(folder, name);
  // By its number: the folder's own name may hold what a path in the engine's form cannot.
  ST_EML_INFO info;
  ReadDescriptor(CString::FromUtf8("\\proc\\self\\fd\\" + std::to_string(opened.file.Get())),
                 &info);
  return info;
}

const char* ItemTypeName(std::int32_t type) {
  static constexpr std::array<const char*, 5> kNames = {"mail", "appointment", "task", "contact",
                                                        "contact list"};
  if (type < 0 || static_cast<size_t>(type) >= kNames.size()) return "unknown";
  return kNames[static_cast<size_t>(type)];
}

PreparedFiles ListPreparedFiles(const std::string& folder) {
  PreparedFiles found;
  std::vector<SourceProblem> problems;
  std::vector<std::string> pending = {""};
  while (!pending.empty()) {
    const std::string below = std::move(pending.back());
    pending.pop_back();
    for (const FolderEntry& entry : ListFolder(folder + "/" + below, problems)) {
      const std::string name = below + entry.name;
      std::error_code error;
      if (std::filesystem::is_symlink(folder + "/" + name, error)) {
        throw SourceError(name + " is a link; a prepared item holds files of its own");
      }
      if (entry.kind == EntryKind::kFolder) {
        found.folders.push_back(name);
        pending.push_back(name + "/");
      } else if (entry.kind != EntryKind::kFile) {
        throw SourceError(name + " is neither a file nor a folder");
      } else if (name != kDescriptorName) {
        found.files.push_back(name);
      }
    }
    if (!problems.empty()) throw SourceError(problems[0].reason);
  }
  std::sort(found.files.begin(), found.files.end());
  found.files.emplace_back(kDescriptorName);
  return found;
}

std::string HashPreparedFiles(const std::string& folder, const PreparedFiles& files) {
  platform::Sha256 whole;
  for (const std::string& name : files.files) {
    platform::Sha256 content;
    ReadPreparedFile(folder, name, [&](std::string_view bytes) { content.Update(bytes); });
    whole.Update(name);
    whole.Update(std::string_view("\0", 1));  // which no name holds
    whole.Update(content.Hex());
  }
  return whole.Hex();
}

bool WantsImagePage(const PreparedFiles& files) {
  return std::any_of(files.files.begin(), files.files.end(), [](const std::string& name) {
    return name.size() == kImageList.size() && EndsWithNoCase(name, kImageList);
  });
}

}  // namespace client
