#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace client {

// Finds the mails of an mbox file. One begins at a "From " line at the start of the file or behind
// an empty line, and reaches to the next; what stands before the first belongs to none. The bytes
// come in pieces of any size, of which nothing is kept.
class MboxSplitter {
 public:
  struct Extent {
    std::uint64_t offset = 0;  // bytes from the beginning of the file
    std::uint64_t length = 0;  // bytes, its "From " line included
  };
  void Feed(std::string_view bytes);
  // After the last piece: the mails in the order of the file, each ending where the next begins.
  std::vector<Extent> Finish();

 private:
  void EndLine();

  std::vector<Extent> m_mails;
  std::string m_head;             // the first bytes of the line, enough to know it by
  std::uint64_t m_offset = 0;     // of what comes next
  std::uint64_t m_lineStart = 0;  // of the line in work
  bool m_blank = true;            // the line holds nothing so far but CR
  bool m_afterBlank = true;       // it stands at the start or behind an empty line
};

// Without the "From " line in front and the empty lines behind it, where there is one.
std::string_view WithoutFromLine(std::string_view mail);

// A mail as it was before it was put into an mbox file: the "From " line in front, one ">" of each
// quoted line and the empty line at the end are taken away.
std::string UnquoteMbox(std::string_view bytes);

}  // namespace client
