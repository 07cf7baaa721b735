#pragma once

#include <cstdint>
#include <string_view>

#include "base/DataBuffer.h"

namespace mail::line_ends {

enum class Rewrite : std::uint8_t {
  kBareLf,   // LF without a CR in front becomes CR LF
  kAll,      // that, and CR without an LF behind it
  kEveryCr,  // each CR becomes CR LF, whatever follows it; LF stays
  kCrCrLf,   // CR CR CR LF becomes CR LF, and then CR CR LF too
};

// Appends the text with its line ends rewritten; takes room for exactly that. False for want of
// memory.
bool rewrite(std::string_view strText, Rewrite nRewrite, DataBuffer& out);

}  // namespace mail::line_ends
