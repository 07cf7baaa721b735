#pragma once

#include <string>
#include <vector>

#include "client/sources/Source.h"

namespace client {

// Adds to the problems, one for each account, the mail that its indexes know and that is not there:
// of the accounts in such folders, and of the source if it is one. All of it must be listed.
void NameMissingMail(const std::string& source, const std::vector<std::string>& aboveAccounts,
                     Listing& listing);

}  // namespace client
