#pragma once

#include <cstddef>

#include "base/DataBuffer.h"
#include "base/LogBase.h"

namespace mail {

// ISO-2022-JP, the 7-bit form of Japanese mail, to and from Shift_JIS (page 932), by arithmetic: no
// table of characters is needed.
class Japanese {
 public:
  // Escapes: ESC $ @ and ESC $ B begin JIS X 0208, ESC ( I half-width katakana, ESC ( B and ESC ( J
  // return to ASCII. Other designations are passed over, with the characters of a double-byte set
  // among them, which Shift_JIS does not have. CR and LF return to ASCII. Bytes of 0x80 and more
  // are taken for Shift_JIS that strayed in, and are copied.
  // The room at pOut is of nBytes bytes.
  struct Written {
    std::size_t nBytes;
    bool bWhole;  // nothing was left out
  };
  Written iso2022ToShiftJis(const unsigned char* pBytes, std::size_t nBytes, unsigned char* pOut,
                            LogBase& log);
  // Half-width katakana are widened, with a voiced or semi-voiced mark behind them drawn in; they
  // stand in the double-byte run as the bytes of Shift_JIS (kept: readers of this text know them).
  // User-defined characters have no place in JIS X 0208 and are left out. Output is appended; false
  // when something was left out and for want of memory.
  bool shiftJisToIso2022(const unsigned char* pBytes, std::size_t nBytes, DataBuffer& out,
                         LogBase& log);
};

}  // namespace mail
