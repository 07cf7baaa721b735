#pragma once

#include <cstdint>
#include <string>

#include "platform/COleDateTime.h"

// Dates as the mailbox service writes them. A date without more is a wall-clock date in the
// machine's zone: an hour that occurs twice counts as standard time, one that is skipped is read
// with the standard offset. Dates must be valid.
namespace ews {

// A moment in UTC.
struct UtcTime {
  std::int64_t nSeconds = 0;  // since 1970-01-01
};

std::string FormatUtc(UtcTime objTime);              // "2024-07-11T14:00:00Z"
std::string FormatUtc(const COleDateTime& dt);       // the same for 10:00 in New York
std::string FormatLocal(const COleDateTime& dt);     // "2024-07-11T10:00:00-04:00"
std::string FormatDay(const COleDateTime& dt);       // "2024-07-11", in the zone of the request
std::string FormatLocalDay(const COleDateTime& dt);  // "2024-07-11-04:00", the offset at midnight

// The date, or ServiceException for an invalid one: no request can say it.
const COleDateTime& ValidDate(const COleDateTime& dt);

}  // namespace ews
