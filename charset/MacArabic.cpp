#include "charset/MacArabic.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace mail {
namespace {

constexpr bool isOneOf(unsigned ch,
                       std::initializer_list<std::pair<unsigned, unsigned>> arrRanges) {
  for (const auto& [nFirst, nLast] : arrRanges) {
    if (ch >= nFirst && ch <= nLast) return true;
  }
  return false;
}

constexpr bool isRightToLeft(unsigned ch) {
  return isOneOf(ch, {{0x81, 0x81},
                      {0x8C, 0x8C},
                      {0x93, 0x93},
                      {0x98, 0x98},
                      {0x9B, 0x9B},
                      {0xA0, 0xA4},
                      {0xA6, 0xAB},
                      {0xAD, 0xBA},
                      {0xBC, 0xBE},
                      {0xC0, 0xC0},
                      {0xDB, 0xDF},
                      {0xFB, 0xFD}});
}

// Right-to-left duplicates of punctuation and digits become their ordinary forms.
constexpr unsigned char foldMacArabic(unsigned ch) {
  if (ch == 0x81) return 0xA0;
  const bool bDuplicate = isOneOf(
      ch, {{0xA0, 0xA4}, {0xA6, 0xAB}, {0xAD, 0xBA}, {0xBC, 0xBE}, {0xDB, 0xDF}, {0xFB, 0xFD}});
  return static_cast<unsigned char>(bDuplicate ? ch - 0x80 : ch);
}

}  // namespace

void unfoldMacArabic(unsigned char* p, std::size_t nBytes) {
  unsigned char* const pEnd = p + nBytes;
  while (p < pEnd) {
    unsigned char* pRunEnd = std::find_if_not(p, pEnd, isRightToLeft);
    std::reverse(p, pRunEnd);
    for (; p < pRunEnd; ++p) *p = foldMacArabic(*p);
    p = std::find_if(p, pEnd, isRightToLeft);
  }
}

}  // namespace mail
