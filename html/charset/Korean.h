#pragma once

#include <cstddef>

#include "mime/base/DataBuffer.h"

namespace mail {

// ISO-2022-KR, the 7-bit form of Korean mail, to and from page 949. Output is appended; the results
// are false when half a pair was left out at the end, and for want of memory.
class Korean {
 public:
  // The header ESC $ ) C is dropped wherever it stands and returns to ASCII; SO begins double-byte
  // text and SI ends it.
  bool iso2022ToKsc(const unsigned char* pBytes, std::size_t nBytes, DataBuffer& out);
  // The header is written first, always. Every pair changes its top bits: those of the syllables
  // that lie outside KS X 1001 become bytes that are no 7-bit text, controls among them, which only
  // iso2022ToKsc turns back. Whoever writes them into mail encodes them.
  bool kscToIso2022(const unsigned char* pBytes, std::size_t nBytes, DataBuffer& out);
};

}  // namespace mail
