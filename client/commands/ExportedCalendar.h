#pragma once

#include <string>

#include "mailboxd/store/Store.h"

namespace client {

// An appointment, with all that is said of its series, or a task, as the text of a calendar
// (RFC 5545). Times are those of the zone that the item keeps, days those of this process's.
std::string CalendarTextOf(mailbox::Store& store, const mailbox::ItemInfo& item);

}  // namespace client
