#include "body/rtf/EncapsulatedPage.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "base/AsciiText.h"
#include "body/rtf/HtmlText.h"
#include "platform/Unicode.h"

namespace rtf {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool Contains(std::string_view str, std::string_view strPart) {
  return mail::findNoCase(str, strPart) != kNone;
}

bool NamesTag(std::string_view str, std::string_view strLower) {
  if (!mail::beginsWithNoCase(str, strLower)) return false;
  const char chNext = str.size() > strLower.size() ? str[strLower.size()] : '>';
  return chNext == '>' || chNext == '/' || chNext == ' ' || chNext == '\t' || chNext == '\n' ||
         chNext == '\r';
}

// The bytes of a tag up to its `>`, quoted values skipped; all that is left where it has none.
std::size_t TagLength(std::string_view str) {
  char chQuote = '\0';
  for (std::size_t n = 1; n < str.size(); ++n) {
    if (chQuote != '\0') {
      if (str[n] == chQuote) chQuote = '\0';
    } else if (str[n] == '"' || str[n] == '\'') {
      chQuote = str[n];
    } else if (str[n] == '>') {
      return n + 1;
    }
  }
  return str.size();
}

enum class Escape { kReference, kStyle, kScript };

void AppendEscaped(std::string& strOut, char32_t ch, Escape eEscape) {
  std::array<char, 16> arrText;
  if (eEscape == Escape::kReference) return AppendReference(strOut, ch);
  if (eEscape == Escape::kStyle) {
    std::snprintf(arrText.data(), arrText.size(), "\\%x ", static_cast<unsigned>(ch));
    strOut += arrText.data();
    return;
  }
  const bool bPair = ch >= 0x10000;
  const unsigned nFirst = static_cast<unsigned>(bPair ? 0xD7C0 + (ch >> 10) : ch);
  std::snprintf(arrText.data(), arrText.size(), "\\u%04x", nFirst);
  strOut += arrText.data();
  if (bPair) AppendEscaped(strOut, 0xDC00 + (ch & 0x3FF), Escape::kScript);
}

void AppendAsAscii(std::string& strOut, std::string_view strUtf8, Escape eEscape) {
  const auto IsAscii = [](char ch) { return static_cast<unsigned char>(ch) < 0x80; };
  while (!strUtf8.empty()) {
    const auto nPlain =
        static_cast<std::size_t>(std::ranges::find_if_not(strUtf8, IsAscii) - strUtf8.begin());
    strOut += strUtf8.substr(0, nPlain);
    strUtf8.remove_prefix(nPlain);
    const auto nOther =
        static_cast<std::size_t>(std::ranges::find_if(strUtf8, IsAscii) - strUtf8.begin());
    const std::u16string strUnits = platform::Utf8ToUtf16(strUtf8.substr(0, nOther));
    for (std::size_t n = 0; n < strUnits.size();) {
      AppendEscaped(strOut, TakeCharacter(strUnits, n), eEscape);
    }
    strUtf8.remove_prefix(nOther);
  }
}

bool NamesCharset(std::string_view strTag) {
  if (!strTag.ends_with('>')) return false;  // cut: who knows what else is in it
  if (NamesTag(strTag, "<meta")) return Contains(strTag, "charset");
  return NamesTag(strTag, "<?xml") && Contains(strTag, "encoding");
}

}  // namespace

void EncapsulatedPage::PutText(char32_t ch) {
  if (ch == '<') {
    m_strPage += "&lt;";
  } else if (ch == '>') {
    m_strPage += "&gt;";
  } else if (ch == '&') {
    m_strPage += "&amp;";
  } else {
    PutMarkup(ch);
  }
}

void EncapsulatedPage::PutMarkup(char32_t ch) {
  if (ch < 0x80) {
    if ((ch >= 0x20 && ch != 0x7F) || ch == '\t' || ch == '\n') m_strPage += static_cast<char>(ch);
    return;
  }
  m_strPage += platform::Utf16ToUtf8(ToUnits(ch));
}

std::string EncapsulatedPage::Finish() {
  const std::string strPage = std::exchange(m_strPage, {});
  std::string_view strRest = strPage;
  std::string strOut;
  while (!strRest.empty()) {
    const std::size_t nText = std::min(strRest.find('<'), strRest.size());
    AppendAsAscii(strOut, strRest.substr(0, nText), Escape::kReference);
    strRest.remove_prefix(nText);
    if (strRest.empty()) break;
    if (strRest.starts_with("<!--")) {
      const std::size_t nEnd = strRest.find("-->");
      AppendAsAscii(strOut, strRest.substr(0, nEnd == kNone ? kNone : nEnd + 3),
                    Escape::kReference);
      strRest.remove_prefix(nEnd == kNone ? strRest.size() : nEnd + 3);
      continue;
    }
    const std::string_view strTag = strRest.substr(0, TagLength(strRest));
    strRest.remove_prefix(strTag.size());
    if (NamesCharset(strTag)) continue;
    AppendAsAscii(strOut, strTag, Escape::kReference);
    const bool bStyle = NamesTag(strTag, "<style");
    if (!bStyle && !NamesTag(strTag, "<script")) continue;
    const std::size_t nRaw =
        std::min(mail::findNoCase(strRest, bStyle ? "</style" : "</script"), strRest.size());
    AppendAsAscii(strOut, strRest.substr(0, nRaw), bStyle ? Escape::kStyle : Escape::kScript);
    strRest.remove_prefix(nRaw);
  }
  return strOut;
}

}  // namespace rtf
