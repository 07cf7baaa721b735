#include "platform/FileErrors.h"

#include <unistd.h>

#include <mutex>
#include <set>
#include <string>
#include <system_error>

#include "platform/Paths.h"

namespace platform {
namespace {

constexpr size_t kMostTold = 4096;  // lines remembered, and so the most that are ever written

// A path may come from a command: nothing in it may act on a terminal.
std::string WithoutControls(std::string str) {
  for (char& ch : str) {
    if (static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F) ch = '?';
  }
  return str;
}

void WriteToStandardError(std::string_view str) {
  while (!str.empty()) {
    const ssize_t nWritten = write(STDERR_FILENO, str.data(), str.size());
    if (nWritten <= 0) return;  // nobody is there to be told
    str.remove_prefix(static_cast<size_t>(nWritten));
  }
}

}  // namespace

void TellFileError(const CString& strPath, int nError) {
  static std::mutex objMutex;
  static std::set<std::string> objTold;
  std::string strLine = "cannot open " + WithoutControls(ResolvePath(strPath)) + ": " +
                        std::generic_category().message(nError) + "\n";
  const std::lock_guard objLock(objMutex);
  if (objTold.size() >= kMostTold) return;
  const auto [it, bNew] = objTold.insert(std::move(strLine));
  if (bNew) WriteToStandardError(*it);
}

}  // namespace platform
