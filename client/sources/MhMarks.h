#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

namespace client {

// What Sylpheed and Claws Mail know of the mails of an MH folder, in ".sylpheed_mark" and
// ".claws_mark": 4 bytes with the number of the form, then 4 with the number of a mail and 4 with
// flags for each, in the byte order of the machine that wrote them.
class MhMarks {
 public:
  enum Flag : std::uint32_t {
    kUnread = 2,
    kMarked = 4,
    kDeleted = 8,
    kReplied = 16,
    kForwarded = 32,
  };
  MhMarks() = default;
  explicit MhMarks(std::string_view bytes);
  bool Has(std::uint64_t mail, Flag flag) const;
  // Mails that came behind all that are marked were never seen.
  bool IsUnread(std::uint64_t mail) const {
    return Has(mail, kUnread) || (!m_flags.empty() && mail > m_last);
  }

 private:
  std::unordered_map<std::uint64_t, std::uint32_t> m_flags;
  std::uint64_t m_last = 0;  // the largest number
};

}  // namespace client
