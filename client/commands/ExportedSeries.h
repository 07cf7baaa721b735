#pragma once

#include <functional>
#include <string>

#include "mailboxd/store/Store.h"

namespace client {

// The rule (RFC 5545) of an item that repeats; empty for one that does not, or not as a calendar
// can say. `lastOf` writes the end of a series that ends on a day, given as 2024-03-05. A day of
// the month that some months do not have is their last, as mailboxes mean it.
std::string RuleOf(const mailbox::ItemInfo& item,
                   const std::function<std::string(const std::string& day)>& lastOf);

}  // namespace client
