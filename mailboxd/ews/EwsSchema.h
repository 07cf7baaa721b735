#pragma once

#include <pugixml.hpp>
#include <string_view>

namespace mailbox {

// Checks a parsed envelope against the types of EwsSchemaTable.h: which children an element may
// have and in which order, its attributes, its values. `buffer` is what the document was parsed in;
// it gives the position of a violation. Throws SoapFault with ErrorSchemaValidation and the words
// that a client knows. Depth of what is accepted is bounded by kMaximumDepth.
inline constexpr int kMaximumDepth = 64;
void CheckEnvelope(pugi::xml_node envelope, std::string_view buffer);

// The fault for a violation at that byte of the buffer.
[[noreturn]] void ThrowViolation(std::string_view violation, std::string_view buffer,
                                 std::ptrdiff_t offset);

}  // namespace mailbox
