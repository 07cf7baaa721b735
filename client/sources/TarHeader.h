#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// The block in front of each member of a tar file (POSIX.1-1988, ustar; and of the first programs,
// which had no mark in it).
namespace client {

inline constexpr std::uint64_t kTarBlock = 512;  // bytes

// Such a block begins there: by its mark, or by the sum of its bytes.
bool IsTar(std::string_view bytes);

// Of a whole block.
std::string_view TarMemberName(std::string_view block);
// Bytes behind it; nothing where no number stands there.
std::optional<std::uint64_t> TarMemberSize(std::string_view block);

}  // namespace client
