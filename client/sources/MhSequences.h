#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace client {

// The number that is the name of a mail in an MH folder; nothing for another file.
std::optional<std::uint64_t> MhNumber(std::string_view fileName);

// The state of the mails of an MH folder, from its file ".mh_sequences": "unseen: 1 6-7".
class MhSequences {
 public:
  MhSequences() = default;
  explicit MhSequences(std::string_view text);

  bool Has(std::string_view name, std::uint64_t number) const;

 private:
  using Range = std::pair<std::uint64_t, std::uint64_t>;
  std::map<std::string, std::vector<Range>, std::less<>> m_sequences;  // sorted by their first
};

}  // namespace client
