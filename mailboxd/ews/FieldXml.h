#pragma once

#include <pugixml.hpp>
#include <string>

namespace mailbox {

// An element with all below it as the mailbox keeps it: names with the prefix t, without what is of
// no schema, comments and blanks between elements. How deep it nests is bounded by the schema
// check.
std::string FieldXml(pugi::xml_node element);

}  // namespace mailbox
