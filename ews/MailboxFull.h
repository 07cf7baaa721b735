#pragma once

#include <string>
#include <string_view>

// With the safe switch the text of a refusal for want of room in the mailbox ends in words of ours:
// the server's own are of its language and version.
namespace ews {

bool IsMailboxFull(std::string_view strCode);  // by the response code
std::string WithMailboxFull(std::string strText);
// Whether a text ends so. Nothing that is a server's own does.
bool SaysMailboxFull(std::string_view strText);

}  // namespace ews
