#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/SourceFiles.h"

namespace client {

// While a mail is put together of which its store keeps parts in files of their own: reads these,
// not more of them than a mailbox can take, and notes what cannot be had.
class FilesBeside {
 public:
  static constexpr std::uint64_t kMostBytes = 256 << 20;  // of all files of a mail

  struct Missing {
    std::string name;  // UTF-8, for people
    std::string reason;
  };

  // The bytes of a file; nothing, and a note under that name, where they cannot be had.
  std::optional<std::string> Read(const std::string& path, Links links, const std::string& name);
  void NoteMissing(std::string_view name, std::string reason = "not in the source");
  const std::vector<Missing>& AllMissing() const { return m_missing; }

 private:
  std::uint64_t m_room = kMostBytes;
  std::vector<Missing> m_missing;
};

// "\r\n" or "\n": what the first line of a mail ends in.
std::string_view LineEndOf(std::string_view mail);

// Appends bytes as the body of a part with that Content-Transfer-Encoding (in lower case, empty for
// none) in a mail with those line ends.
void AppendBody(std::string_view bytes, std::string_view encoding, std::string_view lineEnd,
                std::string& mail);

}  // namespace client
