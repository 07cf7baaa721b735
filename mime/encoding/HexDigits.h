#pragma once

#include <array>
#include <cstddef>

// Hexadecimal digits, as quoted-printable, Q words and parameters write bytes.
namespace mail::hex {

inline constexpr std::array<signed char, 256> kValues = [] {
  std::array<signed char, 256> aValues{};
  aValues.fill(-1);
  for (int n = 0; n < 16; ++n) {
    aValues[static_cast<std::size_t>("0123456789ABCDEF"[n])] = static_cast<signed char>(n);
    aValues[static_cast<std::size_t>("0123456789abcdef"[n])] = static_cast<signed char>(n);
  }
  return aValues;
}();

// 0 to 15, or -1 for what is no digit.
constexpr int valueOf(char ch) { return kValues[static_cast<unsigned char>(ch)]; }

// The byte that two digits say, or -1.
constexpr int byteOf(char chHigh, char chLow) {
  const int nHigh = valueOf(chHigh), nLow = valueOf(chLow);
  return nHigh < 0 || nLow < 0 ? -1 : nHigh << 4 | nLow;
}

inline constexpr std::array<std::array<char, 2>, 256> kDigitPairs = [] {
  std::array<std::array<char, 2>, 256> aPairs{};
  for (std::size_t n = 0; n < 256; ++n) {
    aPairs[n] = {"0123456789ABCDEF"[n >> 4], "0123456789ABCDEF"[n & 0x0F]};
  }
  return aPairs;
}();

// "=XX" in upper case; returns the place behind it.
inline char* putEscape(char ch, char* pOut) {
  const auto& aPair = kDigitPairs[static_cast<unsigned char>(ch)];
  *pOut++ = '=';
  *pOut++ = aPair[0];
  *pOut++ = aPair[1];
  return pOut;
}

}  // namespace mail::hex
