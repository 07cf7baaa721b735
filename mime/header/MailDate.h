#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mail {

// Reads the date of a mail header: RFC 5322 with its obsolete forms (two-digit years, zone names,
// comments, a missing weekday or missing seconds), and the forms that mailers wrote instead: the
// order of ctime and of America, "05-Mar-2002", ISO 8601, AM and PM, "+01:00", "GMT+0100", the
// summer and winter times of Europe by name, months in German and the Romance languages.
//
// Returns seconds since 1970-01-01 UTC, or nothing for a text that lacks a day, month, year or
// time, or names a day that does not exist. A missing or unknown zone counts as UTC. Years 1900 to
// 9999. Linear in the size of the text. Does not throw but for want of memory.
std::optional<std::int64_t> parseMailDate(std::string_view text);

// "Sun, 31 Mar 2024 13:05:00 +0200": now, in the local time of this machine.
std::string mailDateOfNow();

}  // namespace mail
