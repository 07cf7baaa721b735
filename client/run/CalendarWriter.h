#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "client/sources/CalendarItem.h"

namespace client {

// The lines of the descriptor, in UTF-8.
std::string CalendarDescriptor(const CalendarItem& item);

// What ItemProps.json says of it beside its key.
nlohmann::json CalendarProps(const CalendarItem& item);

// Writes the body's mark and the attachments into the work folder. Throws WriteError.
void WriteCalendarFiles(const std::string& workFolder, const CalendarItem& item);

}  // namespace client
