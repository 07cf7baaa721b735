#pragma once

#include <charconv>
#include <string>
#include <string_view>

namespace client {

// "%C3%BC" as the bytes that it means; a "%" that begins no such thing stays.
inline std::string WithoutPercents(std::string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    unsigned char byte = 0;
    const char* const digits = text.data() + at + 1;
    const bool isByte = text[at] == '%' && text.size() - at > 2 &&
                        std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
    plain += isByte ? static_cast<char>(byte) : text[at];
    if (isByte) at += 2;
  }
  return plain;
}

}  // namespace client
