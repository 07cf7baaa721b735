#pragma once

#include <array>
#include <cstddef>
#include <cstring>

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

inline constexpr std::array<std::array<char, 4>, 256> kEscapes = [] {
  std::array<std::array<char, 4>, 256> aEscapes{};
  for (std::size_t n = 0; n < 256; ++n) {
    aEscapes[n] = {'=', "0123456789ABCDEF"[n >> 4], "0123456789ABCDEF"[n & 0x0F]};
  }
  return aEscapes;
}();

// "=XX" in upper case; returns the place behind it, where one more byte is written.
inline char* putEscape(char ch, char* pOut) {
  std::memcpy(pOut, kEscapes[static_cast<unsigned char>(ch)].data(), 4);
  return pOut + 3;
}

}  // namespace mail::hex
