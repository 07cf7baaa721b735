#pragma once

#include <string>

namespace client {

// For the text of a mail that was turned from UTF-16 into UTF-8: the mail with texts that say so.
// What was written as 8-bit text had a charset and now has another, which its header must name;
// encoded texts and files keep theirs.
std::string LabelledUtf8Mail(std::string text);

}  // namespace client
