#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Mail that a server, or its owner, packed.
namespace client {

inline constexpr std::string_view kGzip = "gzip";
// "gzip", "bzip2", "xz", "zstd" or "lz4", by the first bytes; empty for anything else.
std::string_view PackingOf(std::string_view bytes);

inline constexpr std::uint64_t kMostUnpacked = 256 << 20;  // bytes
// What gzip packed, of at most so many bytes. Throws SourceError for more, for what is damaged, and
// for what another program packed.
std::string Unpacked(std::string_view bytes, std::uint64_t most = kMostUnpacked);
// The beginning of what gzip packed, by its first bytes: as far as they go and are sound, and some
// 100 KiB at most.
std::string UnpackedHead(std::string_view head);

}  // namespace client
