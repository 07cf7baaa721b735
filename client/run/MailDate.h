#pragma once

#include <cstdint>
#include <string>

namespace client {

// The date as the engine reads it in any locale: "2024-03-31 13:05:00", in the local time of this
// process. Empty for a time that the system cannot tell.
std::string DescriptorDate(std::int64_t utcSeconds);

}  // namespace client
