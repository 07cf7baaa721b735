#pragma once

#include <string_view>

#include <pugixml.hpp>

// Reading XML by local names: servers choose their prefixes freely.
namespace ews {

// "FolderId" of a node named "t:FolderId". Good while the document lives and is not changed.
std::string_view LocalName(pugi::xml_node objNode);
// The first child element of that local name, or a null node (also for a null parent).
pugi::xml_node Child(pugi::xml_node objParent, std::string_view strLocalName);
// Parses a copy of the text with its white space kept; false if it is not well-formed. Entities
// other than XML's own are not expanded, and there is no way to make it open a file.
bool LoadXml(pugi::xml_document& objDocument, std::string_view strXml);

}  // namespace ews
