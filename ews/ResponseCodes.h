#pragma once

#include <string_view>

#include "ews/ServiceException.h"

namespace ews {

// What a response code of the service says of the request that it answers; a clear refusal for all
// that are not in the table.
Failure FailureOfCode(std::string_view strCode);

// True for a refusing text or header that tells of Exchange Web Services being switched off or not
// allowed, by words that it holds in any case.
bool SaysServiceIsOff(std::string_view strText);

// What people are told then, to stand behind the server's words.
inline constexpr const char* kServiceIsOff =
    "Exchange Web Services is switched off for this organisation, mailbox or application";

}  // namespace ews
