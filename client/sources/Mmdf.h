#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "client/sources/Mbox.h"

namespace client {

// Four bytes 0x01 on a line of their own stand before and behind each mail of an MMDF file.
inline constexpr std::size_t kMostMmdfMark = 6;  // bytes of such a line, its end included
bool IsMmdf(std::string_view head);
bool EndsWithMmdfMark(std::string_view bytes);

// Finds the mails of one: what stands between two such lines. The bytes come in pieces of any size,
// of which nothing is kept.
class MmdfSplitter {
 public:
  void Feed(std::string_view bytes);
  MboxSplitter::Mails Finish();
  // After that: no line ends the last mail.
  bool IsCut() const { return m_isCut; }

 private:
  void EndLine();
  void EndMail();

  MboxSplitter::Mails m_mails;
  MboxSplitter::Mail m_mail;  // the one in work
  std::string m_line;         // the first bytes of the line
  std::uint64_t m_size = 0;   // of the line so far
  std::uint64_t m_at = 0;     // where it begins
  bool m_isWithin = false;    // a mark was seen
  bool m_inHeader = false;
  bool m_isCut = false;
};

}  // namespace client
