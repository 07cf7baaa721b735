#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/SourceFiles.h"
#include "pipeline/ST_EML_INFO.h"

// Prepared items: folders as a program that drives the engine leaves them, with a descriptor and
// its companion files. Paths are of this system and may hold any bytes. Links are not taken: a
// copied one would bring files of other places into the engine's work folder.
namespace client {

inline constexpr std::string_view kDescriptorName = "11comtextjj.t";

// True if a folder is a prepared item.
bool HoldsDescriptor(const std::string& folder);
// That folder as an item of the target folder given.
SourceItem PreparedItemAt(const std::string& folder, const std::string& target,
                          std::vector<SourceProblem>& problems);

// What the descriptor in that folder says. Throws SourceError when there is none that can be read.
ST_EML_INFO ReadPreparedItem(const std::string& folder);

// "mail", "appointment", "task", "contact" or "contact list" for a value of ItemType; "unknown" for
// any other.
const char* ItemTypeName(std::int32_t type);

struct PreparedFiles {
  std::vector<std::string> folders;  // below the item's folder, each after the one it lies in
  std::vector<std::string> files;    // the descriptor last, the others sorted
};
// What the folder and those below it hold. Throws SourceError for a folder that cannot be read and
// for what is neither a file nor a folder.
PreparedFiles ListPreparedFiles(const std::string& folder);

// SHA-256 over names and bytes of those files: 64 hexadecimal digits. Throws SourceError.
std::string HashPreparedFiles(const std::string& folder, const PreparedFiles& files);

// True if the engine is to make an image page of the item before it is inserted.
bool WantsImagePage(const PreparedFiles& files);

// Hands over one of those files, a piece at a time. Throws SourceError with the file's name, and
// what `take` throws.
void ReadPreparedFile(const std::string& folder, const std::string& name,
                      const std::function<void(std::string_view)>& take);

}  // namespace client
