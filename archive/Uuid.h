#pragma once

#include <cstddef>
#include <string>

namespace mail {

inline constexpr std::size_t kUuidBytes = 36;

// A random UUID: lower-case hexadecimal in groups of 8-4-4-4-12. Throws std::bad_alloc, and
// std::runtime_error on a system without randomness.
std::string newUuid();

}  // namespace mail
