#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "base/DataBuffer.h"

namespace mail {

// Uuencode, which mail carried files with before MIME:
//
//   begin 644 cat.txt        the mode, of which mail uses four, and the name
//   #0V%T                    a character for the number of bytes (here 3), then 4 for each 3
//   `                        no bytes: the last line
//   end
//
// Everything here is linear in its input and does not throw.

struct UuBlock {
  std::size_t nBegin = 0;     // where "begin" stands
  std::size_t nEnd = 0;       // behind the line "end", or behind the last line of data without one
  std::string_view strName;   // as it stands, trimmed
  std::string_view strLines;  // the data, from the line behind "begin" on
};

// The first block at nFrom or behind it, with views into the text. A line "begin 644 …" counts only
// when a line of data follows, since people begin sentences in that way too.
std::optional<UuBlock> findUuBlock(std::string_view strText, std::size_t nFrom);

// Appends the bytes of lines of data, up to a line "end" or one that is none. Characters that a
// line lacks at its end count as zero bits. False only for want of memory.
bool decodeUuLines(std::string_view strLines, DataBuffer& out);

// The body of an entity in this encoding: its first block, whatever its mode; without a "begin" all
// of it is taken for data. False only for want of memory.
bool decodeUuBody(std::string_view strBody, DataBuffer& out);

}  // namespace mail
