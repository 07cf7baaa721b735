#include "platform/Paths.h"

#include <dirent.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/Unicode.h"

namespace platform {
namespace {

bool IsSeparator(char16_t ch) { return ch == u'\\' || ch == u'/'; }

// Backslashes and doubled separators become one slash. What opens a file ends at a NUL.
std::u16string Normalise(std::u16string_view strPath) {
  std::u16string strResult;
  strResult.reserve(strPath.size());
  for (const char16_t ch : strPath.substr(0, strPath.find(u'\0'))) {
    if (!IsSeparator(ch)) {
      strResult += ch;
    } else if (strResult.empty() || strResult.back() != u'/') {
      strResult += u'/';
    }
  }
  return strResult;
}

struct Root {
  std::string strExact;     // without a slash at the end
  std::u16string strUpper;  // what a path in any case is compared with
};

struct Registry {
  std::mutex objMutex;
  std::vector<Root> arrRoots;
  std::string strProgramFolder;  // with a slash at the end; empty until first asked for
  std::optional<PathRoot> objProgramRoot;
};

// Never destroyed: roots with static lifetime leave it late.
Registry& TheRegistry() {
  static Registry* const pRegistry = new Registry;
  return *pRegistry;
}

std::string WithoutEndSlash(std::string strPath) {
  while (strPath.ends_with('/')) strPath.pop_back();
  return strPath;
}

struct RootHit {
  std::string strExact;
  size_t nUnits = 0;  // of the path that it stands for
};

// The longest root that a normalised path begins with.
RootHit FindRoot(std::u16string_view strPath) {
  RootHit objHit;
  Registry& objRegistry = TheRegistry();
  const std::lock_guard objLock(objRegistry.objMutex);
  for (const Root& objRoot : objRegistry.arrRoots) {
    const size_t nUnits = objRoot.strUpper.size();
    if (nUnits <= objHit.nUnits || strPath.size() < nUnits) continue;
    if (strPath.size() > nUnits && strPath[nUnits] != u'/') continue;
    if (EqualNoCase(strPath.substr(0, nUnits), objRoot.strUpper)) {
      objHit = {objRoot.strExact, nUnits};
    }
  }
  return objHit;
}

bool Exists(const std::string& strPath) {
  struct stat objStat;
  return lstat(strPath.c_str(), &objStat) == 0;
}

// The entry of a folder whose name equals strName without regard to case, the first in byte order;
// empty if there is none or the folder cannot be listed.
std::string MatchEntry(const std::string& strFolder, std::u16string_view strName) {
  std::string strBest;
  const std::unique_ptr<DIR, int (*)(DIR*)> pFolder(
      opendir(strFolder.empty() ? "." : strFolder.c_str()), closedir);
  if (!pFolder) return strBest;
  while (const dirent* pEntry = readdir(pFolder.get())) {
    const std::string_view strEntry = pEntry->d_name;
    if (!strBest.empty() && strEntry >= strBest) continue;
    if (EqualNoCase(Utf8ToUtf16(strEntry), strName)) strBest = strEntry;
  }
  return strBest;
}

// Matches what lies below strBase, component by component. strRest begins with a slash, or is a
// relative path when strBase is empty.
std::string MatchBelow(std::string strBase, std::u16string_view strRest) {
  size_t nNext = 0;
  while (nNext < strRest.size()) {
    if (strRest[nNext] == u'/') {
      strBase += '/';
      ++nNext;
      continue;
    }
    const size_t nEnd = std::min(strRest.find(u'/', nNext), strRest.size());
    const std::u16string_view strName = strRest.substr(nNext, nEnd - nNext);
    std::string strFound = Utf16ToUtf8(strName);
    if (!Exists(strBase + strFound)) {
      strFound = MatchEntry(strBase, strName);
      if (strFound.empty()) return strBase + Utf16ToUtf8(strRest.substr(nNext));
    }
    strBase += strFound;
    nNext = nEnd;
  }
  return strBase;
}

std::string ReadProgramFolder() {
  std::array<char, PATH_MAX> arrPath;
  const ssize_t nLength = readlink("/proc/self/exe", arrPath.data(), arrPath.size());
  const std::string_view strPath(arrPath.data(), nLength > 0 ? static_cast<size_t>(nLength) : 0);
  const size_t nSlash = strPath.rfind('/');
  return nSlash == std::string_view::npos ? "/" : std::string(strPath.substr(0, nSlash + 1));
}

}  // namespace

PathRoot::PathRoot(std::string strPath) : m_strPath(WithoutEndSlash(std::move(strPath))) {
  Root objRoot{m_strPath, UpperUnits(Normalise(Utf8ToUtf16(m_strPath)))};
  Registry& objRegistry = TheRegistry();
  const std::lock_guard objLock(objRegistry.objMutex);
  objRegistry.arrRoots.push_back(std::move(objRoot));
}

PathRoot::~PathRoot() {
  Registry& objRegistry = TheRegistry();
  const std::lock_guard objLock(objRegistry.objMutex);
  auto& arrRoots = objRegistry.arrRoots;
  const auto it = std::find_if(arrRoots.begin(), arrRoots.end(),
                               [&](const Root& objRoot) { return objRoot.strExact == m_strPath; });
  if (it != arrRoots.end()) arrRoots.erase(it);
}

CString ToWindowsPath(std::string_view strPath) {
  std::u16string str = Utf8ToUtf16(strPath);
  std::replace(str.begin(), str.end(), u'/', u'\\');
  return CString(std::move(str));
}

ExactPath ExactPathOf(std::u16string_view strPath) {
  ExactPath objPath;
  objPath.strRest = Normalise(strPath);
  RootHit objRoot = FindRoot(objPath.strRest);
  objPath.strRest.erase(0, objRoot.nUnits);
  objPath.strBase = std::move(objRoot.strExact);
  return objPath;
}

std::string ExactPath::Spelled() const { return strBase + Utf16ToUtf8(strRest); }

std::string ExactPath::Matched() const { return MatchBelow(strBase, strRest); }

std::string ResolvePath(std::u16string_view strPath) {
  const ExactPath objPath = ExactPathOf(strPath);
  std::string strSpelled = objPath.Spelled();
  return Exists(strSpelled) ? strSpelled : objPath.Matched();
}

std::u16string_view FileNameOf(std::u16string_view strPath) {
  const size_t nSeparator = strPath.find_last_of(u"\\/");
  return nSeparator == std::u16string_view::npos ? strPath : strPath.substr(nSeparator + 1);
}

CString ProgramFolder() {
  Registry& objRegistry = TheRegistry();
  {
    const std::lock_guard objLock(objRegistry.objMutex);
    if (!objRegistry.strProgramFolder.empty()) return ToWindowsPath(objRegistry.strProgramFolder);
  }
  SetProgramFolder(ReadProgramFolder());
  return ProgramFolder();
}

void SetProgramFolder(std::string strPath) {
  strPath = WithoutEndSlash(std::move(strPath));
  Registry& objRegistry = TheRegistry();
  objRegistry.objProgramRoot.emplace(strPath);
  const std::lock_guard objLock(objRegistry.objMutex);
  objRegistry.strProgramFolder = strPath + '/';
}

}  // namespace platform

CString GetCurrLogPath() { return platform::ProgramFolder(); }

CString GetCurrPath() { return GetCurrLogPath() + u"Temp\\"; }
