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

// "=XX" in upper case; returns the place behind it.
constexpr char* putEscape(char ch, char* pOut) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const auto nByte = static_cast<unsigned char>(ch);
  *pOut++ = '=';
  *pOut++ = kDigits[nByte >> 4];
  *pOut++ = kDigits[nByte & 0x0F];
  return pOut;
}

}  // namespace mail::hex
