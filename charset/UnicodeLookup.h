#pragma once

#include <array>
#include <cstdint>

#include "charset/HashConvert.h"

namespace mail {

// The flat form of a page of single bytes: the Unicode unit of each byte, 0 where there is none.
// Byte 0 is U+0000 in every page and stays 0 here.
class UnicodeLookup {
 public:
  explicit UnicodeLookup(const HashConvert& objTable);
  virtual ~UnicodeLookup() = default;

  std::uint16_t unit(unsigned char ch) const { return m_aUnits[ch]; }
  // Each byte's character in UTF-8: up to three bytes from the lowest up, and their number in the
  // highest byte; 0 for U+0000, which UTF-8 has none of here. kNoUtf8 where there is none.
  static constexpr std::uint32_t kNoUtf8 = 0x80000000;
  using Utf8Table = std::array<std::uint32_t, 256>;
  const Utf8Table& utf8() const { return m_aUtf8; }
  unsigned codePage() const { return m_nCodePage; }
  bool isAscii() const { return m_bAscii; }

 private:
  unsigned m_nCodePage;
  bool m_bAscii;
  std::array<std::uint16_t, 256> m_aUnits{};
  Utf8Table m_aUtf8{};
};

}  // namespace mail
