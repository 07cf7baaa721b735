#pragma once

#include <string>
#include <string_view>

#include "mime/MailHeader.h"
#include "pipeline/ST_EML_INFO.h"

// Sender, recipients and subject of a mail as its descriptor gives them, in UTF-8. A person is
// "Name" <address> or an address alone; several have ";" between.
struct MailAddressing {
  std::string from, to, cc, bcc, subject;
};

// One entry of a list of people: "Name" <address>, in quotes, so that the engine finds the name
// when it tries again without it. The address alone where the name would be taken apart on its way;
// empty where the address would.
std::string PersonEntry(std::string_view name, std::string_view address);

// What the header says. A recipient without an address is left out, and so is what would be taken
// apart on its way: an address with its name, a name alone.
MailAddressing AddressingOf(const mail::MailHeader& header);

// Takes from the header of a mail, by its path, what the record leaves to it: for a mail that goes
// without its MIME content. Throws for a file that cannot be read.
void FillFromMime(const CString& strEml, ST_EML_INFO& objInfo);
