#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/Source.h"
#include "platform/UniqueFd.h"

// What the sources share: what lies in a folder, in a fixed order or in none, files and pieces of
// them, and what mails are known by.
namespace client {

// A file cannot be read: what() is "cannot be read: " and the reason, which Reason() gives alone.
class ReadError : public SourceError {
 public:
  explicit ReadError(const std::string& reason)
      : SourceError("cannot be read: " + reason), m_reason(reason) {}
  const std::string& Reason() const { return m_reason; }

 private:
  std::string m_reason;
};

inline constexpr std::string_view kInbox = "Inbox\\";

enum class EntryKind { kFile, kFolder, kFolderLink, kOther };

struct FolderEntry {
  std::string name;  // bytes as the system has them
  EntryKind kind = EntryKind::kOther;
  std::uint64_t size = 0;     // bytes of a file
  std::int64_t modified = 0;  // seconds since 1970 UTC
};

// The names in a folder, in no order, until `take` returns false. A folder that cannot be read
// becomes a problem and has none.
void EachName(const std::string& path, std::vector<SourceProblem>& problems,
              const std::function<bool(std::string_view name)>& take);
// The entries of a folder in byte order of their names, links to files followed. A folder that
// cannot be read becomes a problem and has none.
std::vector<FolderEntry> ListFolder(const std::string& path, std::vector<SourceProblem>& problems);
// The same, one after the other: of a folder with millions only some names are in memory.
void EachEntry(const std::string& path, std::vector<SourceProblem>& problems,
               const std::function<void(const FolderEntry& entry)>& take);

// Whether something is there, a dead link too: at a path, or in a folder by its name.
bool IsThere(const std::string& path);
bool HasEntry(const std::string& path, std::string_view name);
// Whether one of the first hundred names of a folder is such.
bool HasName(const std::string& folder, const std::function<bool(std::string_view name)>& is);

// What stands in a source where neither mail nor a folder to enter can be.
SourceProblem OddEntry(const std::string& path, EntryKind kind);

enum class Links { kFollow, kRefuse };
struct OpenedFile {
  platform::UniqueFd file;
  std::uint64_t size = 0;  // bytes, as it was when it was opened
};
// Opens a regular file to be read. Throws ReadError.
OpenedFile OpenSourceFile(const std::string& path, Links links);

// As it is now.
FileStamp StampOf(const OpenedFile& opened);
FileStamp StampOf(const std::string& path);  // throws ReadError

// What is listed by its place in a file is no longer there when that has changed; is asked for once
// the bytes were read. Throws SourceError.
void RequireAsListed(const OpenedFile& opened, const SourceItem& item);
[[noreturn]] void ThrowChanged();

// Hands a file over from its beginning to its end, a piece at a time; a piece is good during the
// call. Throws ReadError, and what `take` throws.
void ReadPieces(const OpenedFile& opened, const std::function<void(std::string_view)>& take);

// Reads length bytes of a file from offset, or to its end. Throws ReadError.
std::string ReadRange(const OpenedFile& opened, std::uint64_t offset, std::uint64_t length);
std::string ReadFileRange(const std::string& path, std::uint64_t offset, std::uint64_t length);
// All of one, of up to 2 GiB.
std::string ReadWholeFile(const std::string& path);
// Of one at its beginning; empty where it is not there. One that cannot be read is empty, too,
// which is for who meets its name in a folder to tell.
std::string HeadOfFile(const std::string& path, std::uint64_t most);
// Where nobody else tells it that becomes a problem, of no mail that was not seen.
std::string HeadOfFile(const std::string& path, std::uint64_t most,
                       std::vector<SourceProblem>& problems);
inline constexpr std::uint64_t kFileHead = 4096;  // bytes by which a file is known
// The same of a text that a program keeps beside mail: as much of it as a sound one may have.
inline constexpr std::uint64_t kMostText = 16 << 20;  // bytes
std::string TextOfFile(const std::string& path);

// A file of text in UTF-8, or as it is; one that begins with a mark of UTF-16 is converted, and has
// no places in the file that others could read again.
struct TextFile {
  std::string text;
  bool isConverted = false;
};
TextFile ReadTextFile(const std::string& path);  // throws ReadError

// True if the name ends so, without regard to case. suffix is in lower case.
bool EndsWithNoCase(std::string_view name, std::string_view suffix);
bool EndsWithOneOf(std::string_view name, std::span<const std::string_view> suffixes);

// "Name:" at the start of a line, as a header field begins; blanks may stand before the colon.
bool LooksLikeField(std::string_view line);

// Without the line ">From …" that an old relay puts in front of a header.
std::string_view WithoutRelayTrace(std::string_view mail);

// Throws SourceError for bytes in which no header of a mail can be seen. Damaged mail passes.
void RequireMail(std::string_view bytes);
// Reads a file that holds one mail. Throws SourceError as well when it looks like none.
std::string ReadMail(const std::string& path);

}  // namespace client
