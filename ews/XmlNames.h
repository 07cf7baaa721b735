#pragma once

#include <string_view>

#include <pugixml.hpp>

// Reading XML by local names: servers choose their prefixes freely.
namespace ews {

// "FolderId" of a node named "t:FolderId". Good while the document lives and is not changed.
std::string_view LocalName(pugi::xml_node objNode);
// The first child element of that local name, or a null node (also for a null parent).
pugi::xml_node Child(pugi::xml_node objParent, std::string_view strLocalName);

// What a text is to a reader of answers. A tag takes up to 128 bytes as a tree, an attribute 40:
// one that is all markup is refused, so that a tree takes 32 MB at most besides eight times the
// text. Nesting costs nothing. Entities other than XML's own are not expanded, and there is no way
// to make the parser open a file.
enum class XmlText {
  kGood,
  kMalformed,
  kDocumentType,   // well-formed, but with a document type, where entities can be defined
  kTooMuchMarkup,  // more than kMostTags or kMostAttributes
};
inline constexpr size_t kMostTags = 250'000;          // a page of 1,000 items has some 20,000
inline constexpr size_t kMostAttributes = 1'000'000;  // signs "=", of which texts have some, too
// What is read out of an answer into records: items, folders and response messages, ten times what
// a page holds. A record takes many times the four bytes that an element can have.
inline constexpr size_t kMostRecords = 10'000;

// Parses a copy of the text with its white space kept; the document is of use for the kind
// kDocumentType, too.
XmlText ParseXml(pugi::xml_document& objDocument, std::string_view strXml);
// The same; true for kGood.
bool LoadXml(pugi::xml_document& objDocument, std::string_view strXml);

}  // namespace ews
