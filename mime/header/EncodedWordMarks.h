#pragma once

#include <cstddef>
#include <string_view>

namespace mail {

// Where a "?Q?" or "?B?", in either case, begins: the sign of encoded words. npos if there is none.
inline std::size_t findWordMark(std::string_view strText, std::size_t nFrom, char chUpper) {
  while ((nFrom = strText.find('?', nFrom)) != std::string_view::npos) {
    if (strText.size() - nFrom < 3) return std::string_view::npos;
    const char ch = strText[nFrom + 1];
    if (strText[nFrom + 2] == '?' && (ch & '\xDF') == chUpper) return nFrom;
    ++nFrom;
  }
  return std::string_view::npos;
}

inline bool hasEncodedWords(std::string_view strText) {
  for (std::size_t n = 0; (n = strText.find('?', n)) != std::string_view::npos; ++n) {
    if (strText.size() - n < 3) return false;
    const char ch = strText[n + 1] & '\xDF';
    if (strText[n + 2] == '?' && (ch == 'Q' || ch == 'B')) return true;
  }
  return false;
}

// The length of the encoded word at the front of a text; 0 if there is none. Its text may hold
// anything but "?", blanks among them.
inline std::size_t encodedWordLength(std::string_view strText) {
  constexpr std::size_t kLongestCharset = 75;  // characters
  constexpr std::size_t kNone = std::string_view::npos;
  if (!strText.starts_with("=?")) return 0;
  const std::size_t nCharset = strText.substr(0, kLongestCharset + 3).find('?', 2);
  if (nCharset == kNone || nCharset + 2 >= strText.size()) return 0;
  const char chKind = strText[nCharset + 1] & '\xDF';
  if (strText[nCharset + 2] != '?' || (chKind != 'Q' && chKind != 'B')) return 0;
  const std::size_t nEnd = strText.find('?', nCharset + 3);
  return nEnd == kNone || strText.substr(nEnd, 2) != "?=" ? 0 : nEnd + 2;
}

}  // namespace mail
