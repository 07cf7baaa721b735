#pragma once

#include <algorithm>
#include <string_view>

namespace client {

// Takes what stands before the first such byte from the text, and the byte itself; all of it where
// there is none.
inline std::string_view TakeUpTo(std::string_view& text, char end) {
  const std::size_t at = std::min(text.find(end), text.size());
  const std::string_view piece = text.substr(0, at);
  text.remove_prefix(std::min(at + 1, text.size()));
  return piece;
}

}  // namespace client
