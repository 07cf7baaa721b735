#pragma once

#include <string>
#include <string_view>

#include "platform/CString.h"

// Paths travel through the engine in Windows form (`\home\u\run\Temp\`), and some are changed to
// upper case on the way. They are turned into a path of this system here, at the moment a file is
// opened, and nowhere else:
//
// 1. Backslashes and doubled separators become one `/`.
// 2. If the path's upper-case form begins with a known root's (at a separator), that part is the
//    root in its exact spelling, and only what lies below it is matched. So a run folder works
//    below a parent that may be entered but not listed.
// 3. The exact name is tried first; then each component without regard to case. Where several
//    entries match, the first in byte order is taken.
namespace platform {

// A root in exact spelling, known while the object lives. The path is of this system, absolute.
class PathRoot {
 public:
  explicit PathRoot(std::string strPath);
  ~PathRoot();
  PathRoot(const PathRoot&) = delete;
  PathRoot& operator=(const PathRoot&) = delete;

 private:
  std::string m_strPath;
};

// `/home/u/run` becomes `\home\u\run`; bytes that are no UTF-8 become U+FFFD.
CString ToWindowsPath(std::string_view strPath);

// The path of this system that a Windows-form path means. Components that do not exist keep the
// spelling given, so the result can be used to create them as well. Never empty for a path that is
// not; does not throw.
std::string ResolvePath(std::u16string_view strPath);

// The two steps of ResolvePath, for who opens the exact name without asking first whether it
// exists.
struct ExactPath {
  std::string strBase;          // a root, or empty
  std::u16string strRest;       // what lies below, with slashes
  std::string Spelled() const;  // the exact name
  std::string Matched() const;  // each component that is not there exactly, without regard to case
};
ExactPath ExactPathOf(std::u16string_view strPath);

// The name behind the last separator of either kind.
std::u16string_view FileNameOf(std::u16string_view strPath);

// The folder of the running program in Windows form, with a trailing backslash; at its first call
// that folder becomes a root. Who works for a program elsewhere sets its folder (a path of this
// system).
CString ProgramFolder();
void SetProgramFolder(std::string strPath);

}  // namespace platform

// The program folder with a trailing backslash, and that folder's `Temp\`. Neither is created.
CString GetCurrLogPath();
CString GetCurrPath();
