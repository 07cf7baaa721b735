#pragma once

#include <string>
#include <string_view>

// Files that lie in stores of mail and are no mail that is read here.
namespace client {

// Called as what programs keep beside mail: indexes, filters, lists. Somebody may call a folder so:
// what holds mail is none of them.
bool IsBesideMail(std::string_view name);

// By its name, what a program makes of mails that lie elsewhere.
bool IsCopyOfMail(std::string_view name);

// By its name, of Thunderbird and its kin, and of Evolution.
bool IsAddressBook(std::string_view name);

// Two fields in a row are the header of a mail; one alone may be a line of any text.
bool BeginsWithFields(std::string_view head);

// By the first bytes of a file, a form of mail that is not read here, "a Babyl file"; empty for
// others.
std::string_view MailFormOf(std::string_view head);

// What the name and the first bytes of a file show it to be: mail in a form that is not read here,
// as a reason to leave it out; empty for anything that holds no mail.
std::string UnreadMailForm(std::string_view name, std::string_view head);

}  // namespace client
