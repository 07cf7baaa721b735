#pragma once

#include <array>
#include <span>
#include <string_view>

#include "charset/CodePages.h"

// The byte order marks of UTF-8, UTF-16 and UTF-32. In the header: a short text is converted in the
// time of a few calls.
namespace mail::byte_order {

struct Mark {
  std::string_view strBytes;
  bool bBigEndian;
};
inline constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
inline constexpr std::array kUtf16Marks = {Mark{"\xFE\xFF", true}, Mark{"\xFF\xFE", false}};
inline constexpr std::array kUtf32Marks = {Mark{{"\0\0\xFE\xFF", 4}, true},
                                           Mark{{"\xFF\xFE\0\0", 4}, false}};

// Takes the mark of that page off the front of a text. Whether the text is big-endian: the mark
// says it, and where there is none the page.
inline bool takeMark(unsigned nPage, std::span<const unsigned char>& arrText) {
  if (nPage != code_page::kUtf8 && !code_page::isWide(nPage)) return false;
  const std::string_view strText(reinterpret_cast<const char*>(arrText.data()), arrText.size());
  if (nPage == code_page::kUtf8) {
    if (strText.starts_with(kUtf8Mark)) arrText = arrText.subspan(kUtf8Mark.size());
    return false;
  }
  for (const Mark& objMark : code_page::isUtf16(nPage) ? kUtf16Marks : kUtf32Marks) {
    if (!strText.starts_with(objMark.strBytes)) continue;
    arrText = arrText.subspan(objMark.strBytes.size());
    return objMark.bBigEndian;
  }
  return code_page::isBigEndian(nPage);
}

// The mark that is written in front of a text: of 65001, 1200 and 1201, empty for others.
inline std::string_view markOf(unsigned nPage) {
  if (nPage == code_page::kUtf8) return kUtf8Mark;
  if (!code_page::isUtf16(nPage)) return {};
  return kUtf16Marks[code_page::isBigEndian(nPage) ? 0 : 1].strBytes;
}

}  // namespace mail::byte_order
