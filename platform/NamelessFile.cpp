#include "platform/NamelessFile.h"

#include <stdlib.h>
#include <unistd.h>

#include <fcntl.h>
#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

namespace platform {

std::optional<NamelessFile> NamelessFile::Make() {
  std::error_code objError;
  const std::filesystem::path objFolder = std::filesystem::temp_directory_path(objError);
  if (objError) {
    errno = objError.value();
    return std::nullopt;
  }
  std::string strPath = (objFolder / "tarny-XXXXXX").string();
  UniqueFd objFd(mkostemp(strPath.data(), O_CLOEXEC));
  if (!objFd || unlink(strPath.c_str()) != 0) return std::nullopt;
  return NamelessFile(std::move(objFd));
}

bool NamelessFile::WriteAt(std::uint64_t nOffset, std::string_view objBytes) {
  while (!objBytes.empty()) {
    const ssize_t nDone =
        pwrite(m_objFd.Get(), objBytes.data(), objBytes.size(), static_cast<off_t>(nOffset));
    if (nDone < 0 && errno == EINTR) continue;
    if (nDone < 0) return false;
    objBytes.remove_prefix(static_cast<size_t>(nDone));
    nOffset += static_cast<std::uint64_t>(nDone);
  }
  return true;
}

bool NamelessFile::ReadAt(std::uint64_t nOffset, std::span<char> objBuffer) const {
  while (!objBuffer.empty()) {
    errno = 0;
    const ssize_t nDone =
        pread(m_objFd.Get(), objBuffer.data(), objBuffer.size(), static_cast<off_t>(nOffset));
    if (nDone < 0 && errno == EINTR) continue;
    if (nDone <= 0) return false;
    objBuffer = objBuffer.subspan(static_cast<size_t>(nDone));
    nOffset += static_cast<std::uint64_t>(nDone);
  }
  return true;
}

}  // namespace platform
