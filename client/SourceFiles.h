#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "client/Source.h"
#include "platform/UniqueFd.h"

// What the sources share: folders in a fixed order, and files read whole.
namespace client {

inline constexpr std::string_view kInbox = "Inbox\\";

enum class EntryKind { kFile, kFolder, kFolderLink, kOther };

struct FolderEntry {
  std::string name;  // bytes as the system has them
  EntryKind kind = EntryKind::kOther;
  std::uint64_t size = 0;  // bytes of a file
};

// The entries of a folder in byte order of their names, links to files followed. A folder that
// cannot be read becomes a problem and has none.
std::vector<FolderEntry> ListFolder(const std::string& path, std::vector<SourceProblem>& problems);

// What stands in a source where neither mail nor a folder to enter can be.
SourceProblem OddEntry(const std::string& path, EntryKind kind);

enum class Links { kFollow, kRefuse };
// Opens a regular file to be read. Throws SourceError with the reason.
platform::UniqueFd OpenSourceFile(const std::string& path, Links links);

// Hands a file over from its beginning to its end, a piece at a time; a piece is good during the
// call. Throws SourceError with the reason, and what `take` throws.
void ReadPieces(const platform::UniqueFd& file, const std::function<void(std::string_view)>& take);

// Reads length bytes of a file from offset, or to its end. Throws SourceError with the reason.
std::string ReadFileRange(const std::string& path, std::uint64_t offset, std::uint64_t length);
std::string ReadWholeFile(const std::string& path);

// True if the name ends so, without regard to case. suffix is in lower case.
bool EndsWithNoCase(std::string_view name, std::string_view suffix);

// Throws SourceError for bytes in which no header of a mail can be seen. Damaged mail passes.
void RequireMail(std::string_view bytes);

}  // namespace client
