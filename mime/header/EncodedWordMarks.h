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

}  // namespace mail
