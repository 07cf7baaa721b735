#pragma once

#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"

namespace mail {

// Appends the bytes in another page. False when some of them mean nothing in the page that they are
// said to be in, or are lacking in the other one: proof, in a mail, that its label is wrong. What
// was appended until then stays. Does not throw.
bool convertsCleanly(unsigned nFrom, unsigned nTo, std::string_view strBytes, DataBuffer& out,
                     LogBase& log);
// The same for those who only ask.
bool convertsCleanly(unsigned nFrom, unsigned nTo, std::string_view strBytes, LogBase& log);

}  // namespace mail
