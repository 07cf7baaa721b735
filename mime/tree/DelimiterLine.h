#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

// What may stand in a delimiter's line behind its text. Transports pad lines with blanks and tabs
// (RFC 2046, 5.1.1), and files copied in the wrong mode have more than one CR in each line end.
namespace mail::delimiter_line {

inline constexpr std::string_view kPadding = " \t\r";

// A text without the padding at its end.
inline std::string_view withoutPadding(std::string_view strText) {
  return strText.substr(0, strText.find_last_not_of(kPadding) + 1);
}

// How many bytes at the front of a text are padding and then the line end, "\r\n" or a "\n" that
// no CR stands in front of; 0 if something else stands there.
inline std::size_t lengthOfEnd(std::string_view strText, std::string_view strLineEnd) {
  const std::size_t n = std::min(strText.find_first_not_of(kPadding), strText.size());
  if (n == strText.size() || strText[n] != '\n') return 0;
  const bool bCrLf = n > 0 && strText[n - 1] == '\r';
  return bCrLf == (strLineEnd.size() == 2) ? n + 1 : 0;
}

}  // namespace mail::delimiter_line
