#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "client/sources/Mbox.h"

namespace client {

// Four bytes 0x01 on a line of their own stand before and behind each mail of an MMDF file.
inline constexpr std::size_t kMostMmdfMark = 6;  // bytes of such a line, its end included
bool IsMmdf(std::string_view head);
bool EndsWithMmdfMark(std::string_view bytes);

// Finds the mails of one: what stands between two such lines. Two fields behind a hole, which may
// have taken these lines away, begin a mail, too. The bytes come in pieces of any size, of which
// nothing is kept.
class MmdfSplitter {
 public:
  void Feed(std::string_view bytes);
  MboxSplitter::Mails Finish();
  // After that: no line ends the last mail.
  bool IsCut() const { return m_isCut; }

 private:
  void FeedLines(std::string_view bytes);
  void EndLine();
  void EndHole();
  void CountField();
  void EndMail();

  MboxSplitter::Mails m_mails;
  MboxSplitter::Mail m_mail;                       // the one in work
  std::string m_line;                              // the first bytes of the line
  std::uint64_t m_size = 0;                        // of the line so far
  std::uint64_t m_at = 0;                          // where it begins
  std::uint64_t m_nulls = 0;                       // at the end of what was fed
  std::optional<MboxSplitter::Mail> m_behindHole;  // begins behind it, while its lines are fields
  std::uint64_t m_hole = 0;                        // bytes of that
  bool m_isWithin = false;                         // a mark was seen
  bool m_inHeader = false;
  bool m_isCut = false;
};

}  // namespace client
