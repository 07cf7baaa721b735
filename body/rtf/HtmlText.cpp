#include "body/rtf/HtmlText.h"

#include <algorithm>
#include <cstdlib>

namespace rtf {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr int kMostTwips = 22 * 1440 * 4;

bool IsHigh(char32_t ch) { return ch >= 0xD800 && ch <= 0xDBFF; }
bool IsLow(char32_t ch) { return ch >= 0xDC00 && ch <= 0xDFFF; }

// Picture files are looked for in the page by their names.
constexpr std::string_view kPictureStem = "HTMLFile";

}  // namespace

char32_t TakeCharacter(std::u16string_view str, std::size_t& n) {
  const char32_t ch = str[n++];
  if (IsHigh(ch) && n < str.size() && IsLow(str[n])) {
    return 0x10000 + ((ch - 0xD800) << 10) + (str[n++] - 0xDC00U);
  }
  return IsHigh(ch) || IsLow(ch) ? kReplacement : ch;
}

std::u16string ToUnits(char32_t ch) {
  if (ch < 0x10000) return {static_cast<char16_t>(ch)};
  return {static_cast<char16_t>(0xD7C0 + (ch >> 10)), static_cast<char16_t>(0xDC00 + (ch & 0x3FF))};
}

void AppendReference(std::string& strHtml, char32_t ch) {
  strHtml += "&#";
  strHtml += std::to_string(static_cast<unsigned long>(ch));
  strHtml += ';';
}

void AppendCharacter(std::string& strHtml, char32_t ch) {
  const bool bStem = ch == '_' && strHtml.ends_with(kPictureStem);
  if (ch >= 0x7F || ch == '&' || ch == '<' || ch == '>' || ch == '"' || bStem) {
    const bool bNone = ch == 0x7F || ch > 0x10FFFF || (ch & 0xFFFE) == 0xFFFE;
    if (ch != 0x7F) AppendReference(strHtml, bNone || IsHigh(ch) || IsLow(ch) ? kReplacement : ch);
  } else if (ch >= 0x20 || ch == '\t') {
    strHtml += static_cast<char>(ch);
  }
}

void AppendAttribute(std::string& strHtml, std::u16string_view strValue) {
  for (std::size_t n = 0; n < strValue.size();)
    AppendCharacter(strHtml, TakeCharacter(strValue, n));
}

void AppendTwips(std::string& strCss, int nTwips) {
  if (nTwips == 0) {
    strCss += '0';
    return;
  }
  nTwips = std::clamp(nTwips, -kMostTwips, kMostTwips);
  if (nTwips < 0) strCss += '-';
  const int nHundredths = std::abs(nTwips) * 5;
  strCss += std::to_string(nHundredths / 100);
  if (const int nRest = nHundredths % 100; nRest != 0) {
    strCss += '.';
    strCss += static_cast<char>('0' + nRest / 10);
    if (nRest % 10 != 0) strCss += static_cast<char>('0' + nRest % 10);
  }
  strCss += "pt";
}

}  // namespace rtf
