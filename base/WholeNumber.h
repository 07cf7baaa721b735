#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace mail {

// The number that the whole text is; nothing for any other text, or one that does not fit.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text, int base = 10) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace mail
