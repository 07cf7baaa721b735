#pragma once

#include <nlohmann/json.hpp>

#include "mime/email/Email2.h"

namespace client {

// A mail as a reader of mail shows it, for people and scripts, its keys in a fixed order:
//
//   subject      decoded; empty when there is none, as are date and message_id
//   from         {"name", "address"}, the first one; null when there is none
//   to, cc, bcc  lists of the same
//   date         as the mail says it
//   message_id   with its brackets
//   has_html     whether there is an HTML text
//   attachments  [{"filename", "type", "size", "sha256"}]: size and hash of the decoded bytes
//
// Texts are UTF-8; bytes of a damaged mail that are none become U+FFFD when the JSON is written
// with that handler.
nlohmann::ordered_json EmailJson(const mail::Email2& email);

}  // namespace client
