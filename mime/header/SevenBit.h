#pragma once

#include <cstddef>
#include <string_view>

namespace mail {

// Whether all bytes are under 0x80. Blocks are looked at as a whole, which compilers do with the
// widest registers there are.
inline bool isSevenBit(std::string_view strBytes) {
  constexpr std::size_t kBlock = 256;
  for (; strBytes.size() >= kBlock; strBytes.remove_prefix(kBlock)) {
    unsigned char nAll = 0;
    for (std::size_t n = 0; n < kBlock; ++n) nAll |= static_cast<unsigned char>(strBytes[n]);
    if (nAll >= 0x80) return false;
  }
  unsigned char nAll = 0;
  for (const char ch : strBytes) nAll |= static_cast<unsigned char>(ch);
  return nAll < 0x80;
}

}  // namespace mail
