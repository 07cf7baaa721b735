#pragma once

#include <string>
#include <string_view>

namespace mailbox {

// The answer to a POX autodiscover request for Outlook settings: this server's own endpoint for
// every address, or error 600 for a body that is no such request.
std::string AnswerAutodiscover(std::string& body, std::string_view ewsUrl);

}  // namespace mailbox
