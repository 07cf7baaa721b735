#pragma once

#include <string_view>

#include <pugixml.hpp>

// Reading XML by local names: servers choose their prefixes freely.
namespace ews {

// "FolderId" of a node named "t:FolderId". Good while the document lives and is not changed.
std::string_view LocalName(pugi::xml_node objNode);
// The first child element of that local name, or a null node (also for a null parent).
pugi::xml_node Child(pugi::xml_node objParent, std::string_view strLocalName);

// What a text is to a reader of answers. Memory stays in proportion to the text, since one that is
// all markup is refused; nesting costs nothing. Entities other than XML's own are not expanded, and
// there is no way to make the parser open a file.
enum class XmlText {
  kGood,
  kMalformed,
  kDocumentType,   // well-formed, but with a document type, where entities can be defined
  kTooMuchMarkup,  // more than kMostMarkup
};
inline constexpr size_t kMostMarkup = 1'000'000;  // tags and attributes

// Parses a copy of the text with its white space kept; the document is of use for the kind
// kDocumentType, too.
XmlText ParseXml(pugi::xml_document& objDocument, std::string_view strXml);
// The same; true for kGood.
bool LoadXml(pugi::xml_document& objDocument, std::string_view strXml);

}  // namespace ews
