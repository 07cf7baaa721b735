#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "archive/FolderNames.h"
#include "base/DataBuffer.h"

namespace mail {

// The files that a page on disk refers to. Paths are bytes of this system's file names.
//
// A name in a page was often written on another system: what is not there as it is spelt is looked
// for without regard to case, in the page's charset turned to UTF-8, and with its "%XX" undone.
class LocalFiles {
 public:
  static constexpr std::uintmax_t kMaxFileBytes = std::uintmax_t{1024} << 20;

  // From now on nothing outside of this folder is read, links resolved first; without a folder
  // (it is empty or not there) nothing at all.
  void confineTo(const std::string& strFolder);
  // Everything is, and folders are looked at anew.
  void setFree() {
    m_strBound.reset();
    m_objNames.forget();
  }

  // A regular file whose path is one of these; the first that is there. Relative ones count from
  // the folder that the process is in.
  std::optional<std::string> find(const std::vector<std::string>& arrPaths);
  // Replaces arrBytes by the file. False, with the reason in failure(), when it lies outside the
  // bound, cannot be read or is too large.
  bool load(const std::string& strPath, DataBuffer& arrBytes);

  const std::string& failure() const { return m_strFailure; }

  // A path that tells a file from others however it was spelt; empty when it is not there.
  static std::string canonicalPath(const std::string& strPath);
  // With its "/" at the end; empty for a name alone.
  static std::string folderOf(std::string_view strPath);

 private:
  bool isOutside(const std::string& strCanonical) const;

  std::optional<std::string> m_strBound;  // canonical, with "/" at the end, or empty
  std::string m_strFailure;
  FolderNames m_objNames;
};

// How a local name may be spelt on disk, in the order of trial: as it is; from the page's charset
// (0: the ANSI page) or from the ANSI page to UTF-8; with blanks for "%20"; with every "%XX" undone.
std::vector<std::string> spellingsOf(const std::string& strName, int nCodePage);

// The bytes of a file's name as text, which the ANSI page was until now. What is UTF-8 already
// stays.
std::string ansiToUtf8(std::string_view strText);
std::string toUtf8(std::string_view strText, int nCodePage);  // the same of any page; 0: ANSI

// What a URL without http means as a path: without its "file:", whose slashes make one, and with
// "&amp;" undone.
std::string pathOfUrl(std::string_view strUrl);
bool isAbsolutePath(std::string_view strPath);
std::string joinPath(std::string_view strFolder, std::string_view strPath);  // absolute ones stay

}  // namespace mail
