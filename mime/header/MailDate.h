#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace mail {

// Reads the date of a mail header (RFC 5322 with its obsolete forms: two-digit years, zone names,
// comments, a missing weekday or missing seconds). Returns seconds since 1970-01-01 UTC, or nothing
// for a text that is no date or names a day that does not exist. A missing or unknown zone counts
// as UTC. Years 1900 to 9999. Does not throw.
std::optional<std::int64_t> parseMailDate(std::string_view text);

}  // namespace mail
