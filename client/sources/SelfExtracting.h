#pragma once

#include <cstdint>
#include <string_view>

namespace client {

// By its first two bytes a program of DOS or Windows, behind which an archive may stand that it
// unpacks.
inline bool IsProgram(std::string_view head) { return head.starts_with("MZ"); }

inline constexpr std::uint64_t kMostStub = 1 << 20;  // bytes in which the beginning is looked for

// A RAR or 7z file begins in those first bytes of a program of that size. Programs that pack have
// the mark of one among their constants: what stands behind it must be its header. One that is
// unpacked to run a set-up counts as none.
bool HoldsArchive(std::string_view bytes, std::uint64_t size);

}  // namespace client
