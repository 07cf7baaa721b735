#include "client/run/LogTail.h"

#include <filesystem>
#include <limits>
#include <system_error>

#include "client/sources/SourceFiles.h"

namespace client {

void LogTail::Mark() {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(m_path, error);
  m_offset = error ? 0 : size;
}

std::string LogTail::Added() const {
  try {
    return ReadFileRange(m_path, m_offset, std::numeric_limits<std::uint64_t>::max());
  } catch (const SourceError&) {
    return {};
  }
}

}  // namespace client
