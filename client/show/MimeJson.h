#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "client/show/MimeNotes.h"
#include "mime/tree/MimeMessage2.h"

namespace client {

// A tree of MIME entities for people and scripts, its keys in a fixed order:
//
//   path         "." for the root, "0.1" for the second child of its first child
//   type         lower case, empty when the mail says none
//   params       all parameters of Content-Type, in its order, as given, names in lower case
//   charset      its name and code_page; empty and 0 when there is none
//   encoding, disposition, filename, name: empty when the mail does not say
//   size, sha256 of the decoded body, which is UTF-8 for text
//   headers      [name, value] pairs in the order of the mail, decoded
//   undivided    true, where an entity lies too deep for its parts to be told apart
//   notes        what is damaged, as texts for people, where something is and notes are given
//   parts        the same of each child
//
// Texts are UTF-8; bytes of a damaged mail that are none become U+FFFD when the JSON is written
// with that handler. place is the path of the entity in the tree that it was taken from.
nlohmann::ordered_json MimeJson(const mail::MimeMessage2& entity, const std::string& place = ".",
                                const MimeNotes* notes = nullptr);

}  // namespace client
