#pragma once

#include <string>

#include "client/show/MimeNotes.h"
#include "mime/tree/MimeMessage2.h"

namespace client {

// A tree of MIME entities for a person at a terminal: a line for each, parents in front of their
// children, with its path, type, size, charset, encoding, disposition and name; below, what is
// damaged. Lines are broken to fit 80 columns; UTF-8, free of control characters. place is the path
// of the entity in the tree that it was taken from.
std::string MimeText(const mail::MimeMessage2& entity, const std::string& place,
                     const MimeNotes& notes);

}  // namespace client
