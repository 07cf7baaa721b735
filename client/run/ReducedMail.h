#pragma once

#include <string>
#include <string_view>

#include "client/run/EngineLogs.h"
#include "client/run/ItemLoader.h"
#include "client/run/Plan.h"

// A mail that is larger than the target allows arrives reduced: its text, what its descriptor says,
// and the attachments that are files of their own.
namespace client {

// In the result text of such an item.
inline constexpr std::string_view kReduced = "arrived reduced";

// That text, with the names of the attachments that were left out. What cannot be read again names
// none. An engine with its safeguards (safe) leaves out no HTML that is a text of the mail.
std::string ReducedText(const Plan::Entry& entry, const LoadedItem& item, Reduction reduction,
                        bool safe);

}  // namespace client
