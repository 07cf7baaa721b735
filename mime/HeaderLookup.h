#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mime {

// Finds the first field of that name (any case) in the header block of a message and returns its
// value unfolded, white space trimmed, undecoded; nothing when it is not there. The header ends at
// the first empty line. Linear in the header's size.
//
// A stand-in until the MIME library reads headers; see CHANGELOG.md.
std::optional<std::string> FindHeader(std::string_view strMessage, std::string_view strName);

}  // namespace mime
