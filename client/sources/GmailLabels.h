#pragma once

#include <string>
#include <string_view>

#include "client/sources/StateFields.h"

namespace client {

// Takes up what a mail's labels of Gmail say, as an export has them: "Inbox,Unread,Customers/Ott".
// What means a state becomes one, the others categories. Returns the folder that the mail is in, of
// those that every mailbox has, with a backslash at its end; "Archive\" for one that is in none.
std::string TakeGmailLabels(std::string_view labels, StateFields& fields);

}  // namespace client
