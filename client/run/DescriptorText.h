#pragma once

#include <string>
#include <string_view>

namespace client {

// A line of a descriptor with its label, CR LF behind it; an empty line where there is no value,
// for the engine would take a label that stands alone for the value. Line ends in the value become
// blanks. The engine takes every occurrence of the label away: in the value its last blank becomes
// one that does not part words.
std::string DescriptorLine(std::string_view label, std::string_view value);

// The lines of a body: the engine joins them without what ends them, and so each ends in a CR that
// stays in the text.
std::string DescriptorBody(std::string_view text);

// The bytes of a descriptor, UTF-16 little-endian.
std::string Utf16LittleEndian(std::string_view utf8);

}  // namespace client
