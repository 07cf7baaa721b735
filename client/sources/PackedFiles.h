#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Mail that a server, or its owner, packed.
namespace client {

// "gzip", "bzip2", "xz", "zstd" or "lz4", by the first bytes; empty for anything else.
std::string_view PackingOf(std::string_view bytes);

inline constexpr std::uint64_t kMostUnpacked = 256 << 20;  // bytes
// What gzip packed, of at most kMostUnpacked bytes. Throws SourceError for more, for what is
// damaged, and for what another program packed.
std::string Unpacked(std::string_view bytes);

// The first bytes of a file show an archive (tar, zip), or something that gzip packed, with mail in
// it: by the names of its first members or by what the first holds.
bool HoldsPackedMail(std::string_view head);

}  // namespace client
