#pragma once

#include <string>
#include <string_view>

#include "client/sources/StateFields.h"

namespace client {

// Whether a file of mails is an export of Gmail, by the first of them with the "From " line in
// front: that names Gmail's number of the mail as its sender, or the export's fields lead the
// header. In any other file they came with a mail, and say what it was to somebody else.
bool IsGmailExport(std::string_view firstMail);

// Takes up what a mail's labels of Gmail say, as an export has them: "Inbox,Unread,Customers/Ott";
// one with a comma stands in quotes. What means a state becomes one, the others categories. Returns
// the folder that the mail is in, of those that every mailbox has, with a backslash at its end;
// "Archive\" for one that is in none.
std::string TakeGmailLabels(std::string_view labels, StateFields& fields);

}  // namespace client
