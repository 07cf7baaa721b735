#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace rtf {

// Numbers as they lie in files, at a byte offset; 0 where the bytes end before.
constexpr std::uint32_t ReadNumber(std::string_view strBytes, std::size_t nAt, std::size_t nSize) {
  if (nAt > strBytes.size() || nSize > strBytes.size() - nAt) return 0;
  std::uint32_t nNumber = 0;
  for (std::size_t n = nSize; n-- > 0;) {
    nNumber = nNumber << 8 | static_cast<unsigned char>(strBytes[nAt + n]);
  }
  return nNumber;
}
constexpr std::uint32_t ReadU32(std::string_view strBytes, std::size_t nAt) {
  return ReadNumber(strBytes, nAt, 4);
}
constexpr std::uint32_t ReadU16(std::string_view strBytes, std::size_t nAt) {
  return ReadNumber(strBytes, nAt, 2);
}

}  // namespace rtf
