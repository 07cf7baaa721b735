#pragma once

#include <cstddef>
#include <string_view>

namespace mail {

// The page of a text in units of two or four bytes: as its byte order mark says, else as the NULs
// near its start do, which are the upper halves of Latin letters, blanks and tags. 0 for any other
// text. Looks at the first kWideProbe bytes alone.
inline constexpr std::size_t kWideProbe = 1024;

unsigned wideTextPage(std::string_view strBytes);

}  // namespace mail
