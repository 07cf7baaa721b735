#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace client {

// Hands over, piece by piece, a mail without the fields of its header in which mail stores note
// what became of it. A piece is a view into it and ends with a line or the mail.
void EachPieceOfContent(std::string_view mail,
                        const std::function<void(std::string_view piece)>& take);

// The hash of that: SHA-256 as 64 hexadecimal digits, of all its bytes where it has none of these
// fields. So a mail is the same when it was read, answered or taken to another place in its file
// since.
std::string ContentHash(std::string_view mail);

}  // namespace client
