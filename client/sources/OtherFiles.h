#pragma once

#include <string>
#include <string_view>

// Files that lie in stores of mail and are no mail that is read here.
namespace client {

// Known by its name as what programs keep beside mail: indexes, filters, lists. A folder of mail
// may have such a name, too.
bool IsBesideMail(std::string_view name);

// By its name, of Thunderbird and its kin.
bool IsAddressBook(std::string_view name);

// By the first bytes of a file, a form of mail that is not read here, "a Babyl file"; empty for
// others.
std::string_view MailFormOf(std::string_view head);

// What the name and the first bytes of a file show it to be: mail in a form that is not read here,
// as a reason to leave it out; empty for anything that holds no mail.
std::string UnreadMailForm(std::string_view name, std::string_view head);

}  // namespace client
