#pragma once

#include <cstdint>
#include <optional>

namespace mail {
class MailHeader;
}

namespace client {

// When a mail arrived, in seconds since 1970 UTC: what the topmost Received field says that has a
// date, else what its store says, else its Date. None of these counts that is later than now, or
// before 1980, when no mail arrived that anyone kept.
std::optional<std::int64_t> ReceivedTime(const mail::MailHeader& header,
                                         std::optional<std::int64_t> ofStore, std::int64_t now);

}  // namespace client
