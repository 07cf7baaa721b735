#pragma once

#include <string>
#include <string_view>

#include "platform/Unicode.h"

namespace client_test {

// UTF-16LE, as the files of prepared items and the engine's trace are.
inline std::string Wide(std::string_view utf8) {
  std::string bytes;
  for (const char16_t unit : platform::Utf8ToUtf16(utf8)) {
    bytes.append({static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)});
  }
  return bytes;
}

}  // namespace client_test
