#include "charset/WideText.h"

#include <cstdint>

#include "charset/ByteOrderMarks.h"
#include "charset/CodePages.h"

namespace mail {
namespace {

constexpr std::size_t kLeastBytes = 8;  // fewer may be narrow text with a NUL in it

unsigned byteAt(std::string_view strBytes, std::size_t n) {
  return static_cast<unsigned char>(strBytes[n]);
}

// Whether all is characters of four bytes each, the first of which is no NUL.
bool isUtf32(std::string_view strBytes, bool bBigEndian) {
  for (std::size_t n = 0; n + 4 <= strBytes.size(); n += 4) {
    std::uint32_t nChar = 0;
    for (std::size_t nByte = 0; nByte < 4; ++nByte) {
      nChar = nChar << 8 | byteAt(strBytes, n + (bBigEndian ? nByte : 3 - nByte));
    }
    if (nChar > 0x10FFFF || (nChar >= 0xD800 && nChar <= 0xDFFF) || (n == 0 && nChar == 0)) {
      return false;
    }
  }
  return true;
}

// Whether the text begins with an ASCII character, and one unit in eight or more is one. A few
// signs have a NUL as their lower half.
bool isUtf16(std::string_view strBytes, bool bBigEndian) {
  const std::size_t nUpperHalf = bBigEndian ? 0 : 1;
  if (byteAt(strBytes, nUpperHalf) != 0 || byteAt(strBytes, 1 - nUpperHalf) == 0) return false;
  std::size_t arrNuls[2] = {};  // at even places, at odd ones
  for (std::size_t n = 0; n < strBytes.size(); ++n) {
    if (strBytes[n] == '\0') ++arrNuls[n % 2];
  }
  const std::size_t nUpper = arrNuls[nUpperHalf];
  const std::size_t nLower = arrNuls[1 - nUpperHalf];
  return nUpper * 16 >= strBytes.size() && nLower * 4 <= nUpper;
}

unsigned markedPage(std::string_view strBytes) {
  for (const byte_order::Mark& objMark : byte_order::kUtf32Marks) {  // one of UTF-16 begins so, too
    if (!strBytes.starts_with(objMark.strBytes)) continue;
    return objMark.bBigEndian ? code_page::kUtf32BigEndian : code_page::kUtf32;
  }
  for (const byte_order::Mark& objMark : byte_order::kUtf16Marks) {
    if (!strBytes.starts_with(objMark.strBytes)) continue;
    return objMark.bBigEndian ? code_page::kUtf16BigEndian : code_page::kUtf16;
  }
  return 0;
}

}  // namespace

unsigned wideTextPage(std::string_view strBytes) {
  if (const unsigned nMarked = markedPage(strBytes); nMarked != 0) return nMarked;
  if (strBytes.size() < kLeastBytes) return 0;
  strBytes = strBytes.substr(0, kWideProbe);
  if (isUtf32(strBytes, /*bBigEndian=*/false)) return code_page::kUtf32;
  if (isUtf32(strBytes, /*bBigEndian=*/true)) return code_page::kUtf32BigEndian;
  if (isUtf16(strBytes, /*bBigEndian=*/false)) return code_page::kUtf16;
  return isUtf16(strBytes, /*bBigEndian=*/true) ? code_page::kUtf16BigEndian : 0;
}

}  // namespace mail
