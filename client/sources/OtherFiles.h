#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Files that lie in stores of mail and are no mail that is read here.
namespace client {

// Called as what programs keep beside mail: indexes, filters, lists. Somebody may call a folder so:
// what holds mail is none of them.
bool IsBesideMail(std::string_view name);

// What a Mac puts beside a file on the disk of another system, under its name.
inline bool IsOfMac(std::string_view name) { return name.starts_with("._"); }

// By its name, what a program makes of mails that lie elsewhere.
bool IsCopyOfMail(std::string_view name);
// Of these what may be all that is left of an mbox.
bool IsCopyOfMbox(std::string_view name);

// By its name, a hidden file in which a program keeps something of mails, and none of them.
bool IsHiddenBesideMail(std::string_view name);

// By its name, of Thunderbird and its kin, of Evolution and of Windows.
bool IsAddressBook(std::string_view name);

// Two fields in a row are the header of a mail; one alone may be a line of any text.
bool BeginsWithFields(std::string_view head);

// By the first bytes of a file, a form of mail that is not read here, "a Babyl file"; empty for
// others.
std::string_view MailFormOf(std::string_view head);

// By the end of its name, a file that holds mail in whatever form: "Inbox.pst".
bool IsCalledAsMail(std::string_view name);

// What the name and the content of a file show it to be: mail in a form that is not read here, or
// something that mail may be packed in, as a reason to leave it out; empty for anything that holds
// no mail. Throws SourceError.
std::string UnreadMailForm(const std::string& path, std::uint64_t size, std::string_view head);

}  // namespace client
