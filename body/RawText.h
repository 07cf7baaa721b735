#pragma once

#include <algorithm>
#include <span>
#include <string_view>

// What those who look for a page in the lines of a raw message have in common.
namespace raw_text {

inline constexpr std::string_view kBase64 = "Content-Transfer-Encoding: base64";

inline bool Holds(std::string_view strLine, std::string_view strPart) {
  return strLine.find(strPart) != std::string_view::npos;
}

inline bool HoldsAny(std::string_view strLine, std::span<const std::string_view> arrParts) {
  return std::ranges::any_of(arrParts,
                             [&](std::string_view strPart) { return Holds(strLine, strPart); });
}

inline bool EndsPage(std::string_view strLine) {
  return Holds(strLine, "</html>") || Holds(strLine, "</HTML>");
}

// Without the sign that joins it to the next one. kept: it goes whatever the encoding is.
inline std::string_view Unjoined(std::string_view strLine) {
  if (strLine.ends_with('=')) strLine.remove_suffix(1);
  return strLine;
}

// What begins with the first tag; all of a line that has none.
inline std::string_view FromTag(std::string_view strLine) {
  const std::size_t nTag = strLine.find('<');
  return strLine.substr(nTag == std::string_view::npos ? 0 : nTag);
}

}  // namespace raw_text
