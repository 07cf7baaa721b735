#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mailbox {

// Reads an xs:dateTime and returns it in UTC as 2024-03-05T09:15:00Z (a fraction is cut, a text
// without a zone counts as UTC); nothing for any other text.
std::optional<std::string> ReadDateTime(std::string_view text);

// The same as seconds since 1970-01-01 UTC.
std::optional<std::int64_t> ReadSeconds(std::string_view text);
// The store's form for such seconds.
std::string FormatDateTime(std::int64_t seconds);

}  // namespace mailbox
