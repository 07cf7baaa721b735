#pragma once

#include <string>

#include "mime/base/StringBuffer.h"
#include "mime/email/Email2.h"

namespace client {

// The mail for a person at a terminal: subject, addresses, date, attachments, then the plain text;
// UTF-8, free of control characters.
std::string ReadableMail(const mail::Email2& email);
// Its HTML text in UTF-8, as it stands. Throws SourceError if there is none.
mail::StringBuffer HtmlOfMail(const mail::Email2& email);

}  // namespace client
