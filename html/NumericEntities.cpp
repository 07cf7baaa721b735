// Those parts of _ckHtmlHelp that decode numeric entities.

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "base/LogNull.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "html/CkHtmlHelp.h"

namespace mail {
namespace {

// What 0x80 to 0x9F stand for in windows-1252; 0 for those that it lacks. Many a mailer writes the
// bytes of its own page as numbers.
constexpr std::uint32_t kFirstWindows = 0x80;
constexpr std::array<std::uint32_t, 32> kWindows = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

std::uint32_t withoutWindows(std::uint32_t nValue) {
  if (nValue < kFirstWindows || nValue >= kFirstWindows + kWindows.size()) return nValue;
  const std::uint32_t nMeant = kWindows[nValue - kFirstWindows];
  return nMeant != 0 ? nMeant : nValue;
}

int digitOf(char ch, unsigned nBase) {
  if (ch >= '0' && ch <= '9') return ch - '0';
  const char chLower = static_cast<char>(ch | 0x20);
  return nBase == 16 && chLower >= 'a' && chLower <= 'f' ? chLower - 'a' + 10 : -1;
}

// The value of the entity that the text begins with, which is taken off; 0, and nothing is taken,
// if it is none.
std::uint32_t takeEntity(std::string_view& strText, std::size_t nMaxDigits) {
  constexpr std::uint32_t kLastCharacter = 0x10FFFF;
  if (!strText.starts_with("&#")) return 0;
  std::size_t n = 2;
  const bool bHex = n < strText.size() && (strText[n] == 'x' || strText[n] == 'X');
  const unsigned nBase = bHex ? 16 : 10;
  if (bHex) ++n;
  const std::size_t nEnd = n + nMaxDigits;
  std::uint32_t nValue = 0;
  for (; n < strText.size() && n < nEnd; ++n) {
    const int nDigit = digitOf(strText[n], nBase);
    if (nDigit < 0) break;
    nValue = std::min(nValue * nBase + static_cast<std::uint32_t>(nDigit), kLastCharacter + 1);
  }
  if (n >= strText.size() || strText[n] != ';' || nValue > kLastCharacter) return 0;
  if (nValue != 0) strText.remove_prefix(n + 1);
  return withoutWindows(nValue);
}

void putUnit(std::uint32_t nUnit, std::string& strUnits) {
  strUnits += static_cast<char>(nUnit & 0xFF);
  strUnits += static_cast<char>(nUnit >> 8);
}

void putUnits(std::uint32_t nValue, std::string& strUnits) {
  if (nValue <= 0xFFFF) return putUnit(nValue, strUnits);
  putUnit(0xD7C0 + (nValue >> 10), strUnits);
  putUnit(0xDC00 + (nValue & 0x3FF), strUnits);
}

}  // namespace

// Entities that stand side by side are converted together: some mailers write the two halves of a
// surrogate pair as an entity each.
void _ckHtmlHelp::decodeNumericEntities(std::string_view strText, DataBuffer& out,
                                        unsigned nToCodePage, LogBase& log,
                                        std::size_t nMaxDigits) {
  constexpr std::string_view kMark = "\xFF\xFE";  // so that no character is taken for one
  EncodingConvert objConvert;
  std::string strUnits;
  while (!strText.empty()) {
    const std::size_t nAmp = strText.find('&');
    (void)out.append(strText.substr(0, nAmp));
    if (nAmp == std::string_view::npos) return;
    strText.remove_prefix(nAmp);
    strUnits = kMark;
    while (const std::uint32_t nValue = takeEntity(strText, nMaxDigits)) putUnits(nValue, strUnits);
    if (strUnits.size() == kMark.size()) {
      (void)out.appendChar('&');
      strText.remove_prefix(1);
    } else {
      (void)objConvert.convertText(code_page::kUtf16, nToCodePage, strUnits.data(), strUnits.size(),
                                   out, log);
    }
  }
}

void _ckHtmlHelp::decodeEntities(StringBuffer& strText, std::size_t nMaxDigits) {
  if (!strText.contains("&")) return;
  (void)strText.decodeNamedEntities();
  if (!strText.contains("&#")) return;
  DataBuffer arrDecoded;
  LogNull objLog;
  decodeNumericEntities(strText.view(), arrDecoded, code_page::kUtf8, objLog, nMaxDigits);
  (void)strText.setString(arrDecoded.view());
}

}  // namespace mail
