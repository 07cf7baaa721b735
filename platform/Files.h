#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/CString.h"
#include "platform/UniqueFd.h"

namespace platform {

enum class OpenMode {
  kRead,        // must exist and be a regular file
  kCreate,      // created or truncated, for writing
  kCreateRead,  // created or truncated, for writing and reading
  kAppendKeep,  // created if missing, never truncated; every write goes to the end
};

// One open file, bytes as they are but for WriteText (text mode for reading: LineReader.h).
// Paths are in Windows form (platform/Paths.h). A file that exists in any case is taken before one
// is created.
class File {
 public:
  // Returns nothing when the file cannot be opened; errno then tells why.
  static std::optional<File> Open(const CString& strPath, OpenMode eMode);

  std::uint64_t Length() const;        // bytes; 0 on failure
  bool SeekTo(std::uint64_t nOffset);  // from the beginning
  // Reads until pBuffer is full or the file ends; returns the bytes read, short on failure too.
  size_t Read(std::span<unsigned char> objBuffer);
  // All or nothing is not promised on failure; false then.
  [[nodiscard]] bool Write(std::span<const unsigned char> objBytes);
  [[nodiscard]] bool Write(std::u16string_view str);  // units as they are, little-endian
  // As Write, but what could not be written whole is taken back. For kAppendKeep.
  [[nodiscard]] bool Append(std::span<const unsigned char> objBytes);
  [[nodiscard]] bool Append(std::u16string_view str);
  // Text mode: narrows into the ANSI code page, leaving out what it lacks, and writes LF as CR LF.
  [[nodiscard]] bool WriteText(std::u16string_view str);
  [[nodiscard]] bool AppendText(std::u16string_view str);
  int Fd() const { return m_objFd.Get(); }

 private:
  explicit File(UniqueFd objFd) : m_objFd(std::move(objFd)) {}
  UniqueFd m_objFd;
};

// True if something of that name is there, a folder too; no wildcards.
bool PathExists(const CString& strPath);
// Each returns false on failure, errno tells why. RenameFile fails when the target exists.
bool DeleteFileAt(const CString& strPath);
bool RenameFile(const CString& strFrom, const CString& strTo);
bool MakeFolderAt(const CString& strPath);  // mode 0700 under the umask; false if it exists

// The entries that match a path whose last component may hold `*` and `?` ("*.*" is everything), in
// byte order of their names, without the two dot entries. A trailing separator finds nothing.
struct FoundFile {
  CString strName;
  bool bFolder = false;  // of the entry itself: false for a symbolic link to a folder
};
std::vector<FoundFile> FindFiles(const CString& strPattern);

}  // namespace platform

// True if a search for the name finds anything; a wildcard in the name works.
bool checkFileExists(const CString& dirName);
// Deletes a folder with all it holds; a symbolic link is deleted and never entered. Non-zero means
// success; an empty path gives 0.
int RemoveFolder(const CString& strFolderPath);
