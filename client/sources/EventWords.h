#pragma once

#include <string>
#include <string_view>

#include "client/sources/CalendarItem.h"

// What the words of an event or task mean to the mailbox service.
namespace client {

std::string BusyOf(const IcsComponent& component);         // "Busy" where nothing is said
std::string LocationOf(const IcsComponent& component);     // empty for none
std::string SensitivityOf(const IcsComponent& component);  // empty for what anybody may see
std::string TaskStateOf(const IcsComponent& component);    // empty for none that is known
// Of an ATTENDEE or ORGANIZER; without an address where the line has none.
CalendarItem::Person PersonOf(const ContentLine& line);

// For people, what of a series its occurrences cannot have of their own; null for what they can.
const char* NameInSeries(std::string_view property);

}  // namespace client
