#pragma once

#include <string_view>

#include "body/rtf/Formats.h"

namespace rtf {

// Font and size of most of the text: a page that is set in them needs few tags. Looks at
// the first kMostProbed bytes, and at formats only.
inline constexpr std::size_t kMostProbed = 256 * 1024;
CharacterFormat FindBaseFormat(std::string_view strRtf);

}  // namespace rtf
