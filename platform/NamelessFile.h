#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "platform/UniqueFd.h"

namespace platform {

// A file in the system's folder for temporary files (TMPDIR, else /tmp) that has no name any more:
// it is gone with this object, however the process ends. Only its own user may read it.
class NamelessFile {
 public:
  // Returns nothing when none can be made; errno then tells why.
  static std::optional<NamelessFile> Make();

  // All or nothing is not promised on failure; false then, and errno tells why.
  [[nodiscard]] bool WriteAt(std::uint64_t nOffset, std::string_view objBytes);
  // Fills objBuffer. False on failure, and where the file ends before; errno, 0 then, tells why.
  [[nodiscard]] bool ReadAt(std::uint64_t nOffset, std::span<char> objBuffer) const;

 private:
  explicit NamelessFile(UniqueFd objFd) : m_objFd(std::move(objFd)) {}
  UniqueFd m_objFd;
};

}  // namespace platform
