#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace test_support {

inline std::string Repeated(std::size_t count, std::string_view piece) {
  std::string text;
  text.reserve(count * piece.size());
  while (count-- > 0) text += piece;
  return text;
}

// How often a part stands in a text, none of them within another.
inline std::size_t CountOf(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (auto n = text.find(part); n != text.npos; n = text.find(part, n + part.size())) ++count;
  return count;
}

}  // namespace test_support
