#pragma once

#include <cstddef>

#include "base/DataBuffer.h"

namespace mail {

// ISO-2022-KR, the 7-bit form of Korean mail, to and from page 949. Output is appended; the results
// are false when something was left out and for want of memory.
class Korean {
 public:
  // The header ESC $ ) C is dropped wherever it stands and returns to ASCII; SO begins double-byte
  // text and SI ends it. A lone byte at the end of it is left out.
  bool iso2022ToKsc(const unsigned char* pBytes, std::size_t nBytes, DataBuffer& out);
  // The header is written first, always. A lead without a trail at the end is left out. The
  // syllables of 949 outside KS X 1001 are written like the others: some come out as controls, and
  // those that become a shift, an escape or a line end do not read back.
  bool kscToIso2022(const unsigned char* pBytes, std::size_t nBytes, DataBuffer& out);
};

}  // namespace mail
