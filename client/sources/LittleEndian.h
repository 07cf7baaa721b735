#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace client {

// The number in `size` bytes, eight at most, the least first. They must be there.
inline std::uint64_t NumberAt(std::string_view bytes, std::size_t at, std::size_t size) {
  std::uint64_t number = 0;
  for (std::size_t i = size; i-- > 0;) {
    number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
  }
  return number;
}

}  // namespace client
