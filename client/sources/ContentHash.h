#pragma once

#include <string>
#include <string_view>

namespace client {

// The hash of a mail without the fields of its header in which mail stores note what became of it:
// SHA-256 as 64 hexadecimal digits, of all its bytes where it has none of them. So a mail is the
// same when it was read, answered or taken to another place in its file since.
std::string ContentHash(std::string_view mail);

}  // namespace client
