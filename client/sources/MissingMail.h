#pragma once

#include <string>
#include <vector>

#include "client/sources/HashedName.h"
#include "client/sources/Source.h"

namespace client {

// Where the accounts of a Thunderbird lie in a source.
struct MailAccounts {
  struct One {
    std::string path;
    bool isOfServer = false;  // which has its mail, too
  };
  std::vector<std::string> above;  // folders of which each folder is one
  std::vector<One> elsewhere;      // single ones
};

// Adds to the problems, one for each account, the mail that its indexes know and that is not there:
// of these, and of the source if it is one. All of it must be listed.
void NameMissingMail(const std::string& source, const MailAccounts& accounts, TrueNames& names,
                     Listing& listing);

}  // namespace client
