#include "html/PageCharset.h"

#include <algorithm>

#include "base/ByteSearch.h"
#include "base/LogNull.h"
#include "charset/ByteOrderMarks.h"
#include "charset/CharsetNames.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "charset/WideText.h"
#include "html/CkHtmlHelp.h"
#include "platform/Unicode.h"

namespace mail {
namespace {

using namespace code_page;

// Whether most of what is no ASCII in a text is UTF-8: one that was cut in a character still is.
bool isMostlyUtf8(std::string_view strBytes) {
  if (byte_search::isUtf8(strBytes)) return true;
  const std::u16string strUnits = platform::Utf8ToUtf16(strBytes);
  const auto nBad = std::ranges::count(strUnits, u'\uFFFD');
  const auto nForeign = std::ranges::count_if(strUnits, [](char16_t ch) { return ch > 0x7F; });
  return 2 * nBad < nForeign;
}

}  // namespace

unsigned charsetOfMeta(std::string_view strBytes) {
  StringBuffer strName;
  _ckHtmlHelp::charsetFromMetaTag(strBytes, strName);
  const auto nNamed = static_cast<unsigned>(strName.isEmpty() ? 0 : nameToCodePage(strName));
  if (nNamed == kLatin1) return kWindows1252;
  // The element was read byte for byte: it cannot be of two bytes each.
  const bool bTells = nNamed != kAscii && !isWide(nNamed) && EncodingConvert::converts(nNamed);
  return bTells ? nNamed : 0;
}

unsigned charsetOfPage(std::string_view strBytes, unsigned nElse) {
  if (strBytes.starts_with(byte_order::kUtf8Mark)) return kUtf8;
  if (const unsigned nWide = wideTextPage(strBytes); nWide != 0) return nWide;
  const unsigned nNamed = charsetOfMeta(strBytes);
  if (nNamed != 0 && nNamed != kUtf8) return nNamed;
  return isMostlyUtf8(strBytes) ? kUtf8 : nElse;
}

std::string pageAsUtf8(std::string_view strBytes, unsigned nElse) {
  EncodingConvert objConvert;
  DataBuffer arrConverted;
  LogNull log;
  // The result tells of characters that do not map; the others are there all the same.
  (void)objConvert.convertText(charsetOfPage(strBytes, nElse), kUtf8, strBytes.data(),
                               strBytes.size(), arrConverted, log);
  std::string strPage(arrConverted.view());
  if (strPage.starts_with(byte_order::kUtf8Mark)) strPage.erase(0, byte_order::kUtf8Mark.size());
  if (!platform::IsValidUtf8(strPage)) {
    strPage = platform::Utf16ToUtf8(platform::Utf8ToUtf16(strPage));
  }
  return strPage;
}

}  // namespace mail
