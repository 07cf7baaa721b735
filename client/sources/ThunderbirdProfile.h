#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "client/sources/FolderWalk.h"
#include "client/sources/MissingMail.h"
#include "client/sources/TagNames.h"

namespace client {

// The profile of a Thunderbird: all its mail lies in folders of accounts, whose folders become one
// tree. Names what else its owner has there: address books, calendars, news, accounts that lie
// outside of the source, what may be mail beside the accounts. False for any other folder. Accounts
// that it has in folders of other names are added to all.
bool TakeProfile(const SourceFolder& folder, const std::string& source, MailAccounts& all,
                 Listing& listing, std::vector<SourceFolder>& below);

// One of the two folders of a profile in which the accounts lie, taken by itself as well.
bool IsAboveAccounts(const std::string& path);
// Of an account in it: none but for feeds, whose folders stand apart from those of mail.
std::string LevelsOfAccount(const std::string& parent, std::string_view name);

// What its owner calls the tags of mails.
TagNames TagsOfProfile(const std::string& path);

}  // namespace client
