#pragma once

#include <string>
#include <string_view>

namespace client {

// A folder name in modified UTF-7 (RFC 3501, 5.1.3), as Maildirs have them, as UTF-8: "&-" is "&",
// and "&" up to the next "-" holds UTF-16 in base64 with "," for "/". A name that is no valid
// modified UTF-7 comes back as it is: other programs write plain UTF-8, or a bare "&".
std::string FromModifiedUtf7(std::string_view name);

// The name in modified UTF-7, its ASCII in `also` as if it were none.
std::string ToModifiedUtf7(std::string_view name, std::string_view also = "");

}  // namespace client
