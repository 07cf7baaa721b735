#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "base/StringBuffer.h"
#include "mime/email/Email2.h"

namespace client {

// For a person at a terminal, free of control characters: subject, people, date and attachments of
// a mail, as EmailJson.h has them; and a text line by line, in which tabs stay.
std::string ReadableHead(const nlohmann::ordered_json& mail);
std::string ReadableLines(std::string_view text);
// Appends one more field of such a head; nothing for an empty text.
void AppendField(std::string_view label, const std::string& text, std::string& out);

// The mail for a person at a terminal: subject, addresses, date, attachments, then the plain text;
// UTF-8, free of control characters.
std::string ReadableMail(const mail::Email2& email);
inline constexpr char kNoHtmlText[] = "the mail has no HTML text";
// Its HTML text in UTF-8, as it stands; nothing if there is none.
std::optional<mail::StringBuffer> HtmlOfMail(const mail::Email2& email);

}  // namespace client
