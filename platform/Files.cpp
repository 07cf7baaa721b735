#include "platform/Files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <memory>
#include <string>
#include <string_view>

#include "platform/LineReader.h"
#include "platform/NarrowText.h"
#include "platform/Paths.h"
#include "platform/Unicode.h"

namespace platform {
namespace {

static_assert(std::endian::native == std::endian::little,
              "units are written as they lie in memory");

int AccessOf(OpenMode eMode) {
  switch (eMode) {
    case OpenMode::kRead:
      return O_RDONLY;
    case OpenMode::kCreate:
      return O_WRONLY | O_TRUNC;
    case OpenMode::kCreateRead:
      return O_RDWR | O_TRUNC;
    case OpenMode::kAppendKeep:
      return O_WRONLY | O_APPEND;
  }
  return O_RDONLY;
}

// O_NONBLOCK: a pipe that somebody left in a work folder must not stop the engine.
int OpenAt(const std::string& strPath, int nFlags) {
  return open(strPath.c_str(), nFlags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666);
}

// The exact name first, so that the usual case takes one call; then the name in any case; only then
// a new file.
int OpenOrCreate(const CString& strPath, OpenMode eMode) {
  const ExactPath objPath = ExactPathOf(strPath);
  const int nFlags = AccessOf(eMode);
  const int nFd = OpenAt(objPath.Spelled(), nFlags);
  if (nFd >= 0 || (errno != ENOENT && errno != ENOTDIR)) return nFd;
  return OpenAt(objPath.Matched(), eMode == OpenMode::kRead ? nFlags : nFlags | O_CREAT);
}

int FailedOpen(int nError) {
  errno = nError;
  return -1;
}

// What is opened for reading is a regular file.
int RegularOnly(UniqueFd objFd) {
  struct stat objStat;
  if (fstat(objFd.Get(), &objStat) != 0) return FailedOpen(errno);
  if (S_ISREG(objStat.st_mode)) return objFd.Release();
  objFd.Reset();
  return FailedOpen(S_ISDIR(objStat.st_mode) ? EISDIR : EINVAL);
}

template <typename Unit>
std::span<const unsigned char> BytesOf(std::basic_string_view<Unit> str) {
  return {reinterpret_cast<const unsigned char*>(str.data()), str.size() * sizeof(Unit)};
}

// The number of bytes that were written: all of them but on failure.
size_t WriteSome(int nFd, std::span<const unsigned char> objBytes) {
  size_t nDone = 0;
  while (nDone < objBytes.size()) {
    const ssize_t nWritten = write(nFd, objBytes.data() + nDone, objBytes.size() - nDone);
    if (nWritten < 0 && errno == EINTR) continue;
    if (nWritten <= 0) break;
    nDone += static_cast<size_t>(nWritten);
  }
  return nDone;
}

bool IsFolderEntry(const std::string& strFolder, const dirent& objEntry) {
  if (objEntry.d_type != DT_UNKNOWN) return objEntry.d_type == DT_DIR;
  struct stat objStat;
  return lstat((strFolder + objEntry.d_name).c_str(), &objStat) == 0 && S_ISDIR(objStat.st_mode);
}

bool IsDotEntry(std::string_view strName) { return strName == "." || strName == ".."; }

struct Entry {
  std::string strName;
  bool bFolder = false;
};

// The entries of a folder (its path ends in a slash) without the two dot entries, in no order; none
// if it cannot be listed.
std::vector<Entry> ListFolder(const std::string& strFolder) {
  std::vector<Entry> arrEntries;
  const std::unique_ptr<DIR, int (*)(DIR*)> pFolder(opendir(strFolder.c_str()), closedir);
  if (!pFolder) return arrEntries;
  while (const dirent* pEntry = readdir(pFolder.get())) {
    if (IsDotEntry(pEntry->d_name)) continue;
    arrEntries.push_back({pEntry->d_name, IsFolderEntry(strFolder, *pEntry)});
  }
  return arrEntries;
}

// `*` stands for any number of units and `?` for one; both texts are in upper case. When a later
// part fails, only the last `*` is tried again, so the time is bounded by the product of the
// lengths.
bool WildcardMatch(std::u16string_view strPattern, std::u16string_view strName) {
  size_t nPattern = 0;
  size_t nName = 0;
  size_t nStar = std::u16string_view::npos;
  size_t nStarName = 0;
  while (nName < strName.size()) {
    if (nPattern < strPattern.size() && strPattern[nPattern] == u'*') {
      nStar = nPattern++;
      nStarName = nName;
    } else if (nPattern < strPattern.size() &&
               (strPattern[nPattern] == u'?' || strPattern[nPattern] == strName[nName])) {
      ++nPattern;
      ++nName;
    } else if (nStar != std::u16string_view::npos) {
      nPattern = nStar + 1;
      nName = ++nStarName;
    } else {
      return false;
    }
  }
  return strPattern.find_first_not_of(u'*', nPattern) == std::u16string_view::npos;
}

std::vector<FoundFile> FindExactly(const CString& strPath) {
  const std::string strResolved = ResolvePath(strPath);
  struct stat objStat;
  if (lstat(strResolved.c_str(), &objStat) != 0) return {};
  const std::string_view strName = std::string_view(strResolved).substr(strResolved.rfind('/') + 1);
  return {{CString::FromUtf8(strName), S_ISDIR(objStat.st_mode)}};
}

// Deletes a folder and all below it, deepest first, with a list in place of recursion.
bool RemoveTree(const std::string& strTop) {
  struct Step {
    std::string strFolder;
    bool bEntered = false;
  };
  std::vector<Step> arrSteps{{strTop}};
  bool bRemoved = false;
  while (!arrSteps.empty()) {
    if (arrSteps.back().bEntered) {
      bRemoved = rmdir(arrSteps.back().strFolder.c_str()) == 0;
      arrSteps.pop_back();
      continue;
    }
    arrSteps.back().bEntered = true;
    const std::string strBelow = arrSteps.back().strFolder + '/';
    for (const Entry& objEntry : ListFolder(strBelow)) {
      if (objEntry.bFolder) {
        arrSteps.push_back({strBelow + objEntry.strName});
      } else {
        unlink((strBelow + objEntry.strName).c_str());  // a failure shows when the folder goes
      }
    }
  }
  return bRemoved;  // the last step was the top
}

}  // namespace

std::optional<File> File::Open(const CString& strPath, OpenMode eMode) {
  int nFd = OpenOrCreate(strPath, eMode);
  if (nFd >= 0 && eMode == OpenMode::kRead) nFd = RegularOnly(UniqueFd(nFd));
  if (nFd < 0) return std::nullopt;
  return File(UniqueFd(nFd));
}

std::uint64_t File::Length() const {
  struct stat objStat;
  return fstat(Fd(), &objStat) == 0 ? static_cast<std::uint64_t>(objStat.st_size) : 0;
}

bool File::SeekTo(std::uint64_t nOffset) {
  return lseek(Fd(), static_cast<off_t>(nOffset), SEEK_SET) >= 0;
}

size_t File::Read(std::span<unsigned char> objBuffer) {
  size_t nDone = 0;
  while (nDone < objBuffer.size()) {
    const ssize_t nRead = read(Fd(), objBuffer.data() + nDone, objBuffer.size() - nDone);
    if (nRead < 0 && errno == EINTR) continue;
    if (nRead <= 0) break;
    nDone += static_cast<size_t>(nRead);
  }
  return nDone;
}

bool File::Write(std::span<const unsigned char> objBytes) {
  return WriteSome(Fd(), objBytes) == objBytes.size();
}

bool File::Write(std::u16string_view str) { return Write(BytesOf(str)); }

bool File::Append(std::span<const unsigned char> objBytes) {
  const size_t nWritten = WriteSome(Fd(), objBytes);
  if (nWritten == objBytes.size()) return true;
  if (nWritten > 0) (void)!ftruncate(Fd(), static_cast<off_t>(Length() - nWritten));
  return false;
}

bool File::Append(std::u16string_view str) { return Append(BytesOf(str)); }

bool File::WriteText(std::u16string_view str) {
  return Write(BytesOf<char>(ToTextMode(WideToNarrow(str))));
}

bool File::AppendText(std::u16string_view str) {
  return Append(BytesOf<char>(ToTextMode(WideToNarrow(str))));
}

bool PathExists(const CString& strPath) {
  struct stat objStat;
  return !strPath.IsEmpty() && stat(ResolvePath(strPath).c_str(), &objStat) == 0;
}

bool DeleteFileAt(const CString& strPath) { return unlink(ResolvePath(strPath).c_str()) == 0; }

bool RenameFile(const CString& strFrom, const CString& strTo) {
  const std::string strSource = ResolvePath(strFrom);
  const std::string strTarget = ResolvePath(strTo);
  if (renameat2(AT_FDCWD, strSource.c_str(), AT_FDCWD, strTarget.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  if (errno != EINVAL && errno != ENOSYS) return false;
  // A file system that cannot do both at once: looked at first.
  struct stat objStat;
  if (lstat(strTarget.c_str(), &objStat) == 0) {
    errno = EEXIST;
    return false;
  }
  return rename(strSource.c_str(), strTarget.c_str()) == 0;
}

bool MakeFolderAt(const CString& strPath) { return mkdir(ResolvePath(strPath).c_str(), 0700) == 0; }

std::vector<FoundFile> FindFiles(const CString& strPattern) {
  const std::u16string_view strName = FileNameOf(strPattern);
  if (strName.empty()) return {};
  if (strName.find_first_of(u"*?") == std::u16string_view::npos) return FindExactly(strPattern);

  const std::u16string strUpper = strName == u"*.*" ? u"*" : UpperUnits(strName);
  const std::u16string_view strFolder =
      strPattern.View().substr(0, strPattern.View().size() - strName.size());
  std::vector<Entry> arrEntries = ListFolder(strFolder.empty() ? "./" : ResolvePath(strFolder));
  std::sort(arrEntries.begin(), arrEntries.end(),
            [](const Entry& a, const Entry& b) { return a.strName < b.strName; });
  std::vector<FoundFile> arrFound;
  for (const Entry& objEntry : arrEntries) {
    std::u16string strWide = Utf8ToUtf16(objEntry.strName);
    if (!WildcardMatch(strUpper, UpperUnits(strWide))) continue;
    arrFound.push_back({CString(std::move(strWide)), objEntry.bFolder});
  }
  return arrFound;
}

}  // namespace platform

bool checkFileExists(const CString& dirName) { return !platform::FindFiles(dirName).empty(); }

int RemoveFolder(const CString& strFolderPath) {
  if (strFolderPath.IsEmpty()) return 0;
  std::string strPath = platform::ResolvePath(strFolderPath);
  while (strPath.ends_with('/')) strPath.pop_back();
  struct stat objStat;
  if (lstat(strPath.c_str(), &objStat) != 0) return 0;
  if (S_ISLNK(objStat.st_mode)) return unlink(strPath.c_str()) == 0 ? 1 : 0;
  return S_ISDIR(objStat.st_mode) && platform::RemoveTree(strPath) ? 1 : 0;
}
