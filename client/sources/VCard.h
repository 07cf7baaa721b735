#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "client/sources/ContentLines.h"

// Cards of people and groups: vCard 2.1, 3.0 and 4.0 as programs write them. A card is read
// whatever its version says, for many say one and write another: quoted-printable with its soft
// line ends, charsets of single values, base64 folded with blanks, without them or ended by an
// empty line, data: addresses, types with and without "TYPE=".
namespace client {

// A property's value is UTF-8 with its escapes where it is text, and the bytes themselves where it
// was base64.
struct VCard {
  std::vector<ContentLine> properties;
  std::unordered_map<std::string, std::string> labels;     // by group
  std::unordered_map<std::string, std::string> countries;  // by group

  // Null without one. The name is in upper case.
  const ContentLine* First(std::string_view name) const;
  // The text of the first one, without escapes; empty without one.
  std::string Text(std::string_view name) const;
  // What lines of their own say of the group of a property: item1.X-ABLABEL of item1.TEL is its
  // label, item1.X-ABADR the country of item1.ADR. Empty without one.
  std::string LabelOf(const ContentLine& property) const;
  std::string CountryOf(const ContentLine& property) const;
  bool IsGroup() const;
};

VCard ParseVCard(std::string_view text);

// Where a card lies in a text.
struct VCardExtent {
  std::size_t offset = 0;
  std::size_t length = 0;
  bool ended = false;  // by END:VCARD
};
std::vector<VCardExtent> FindVCards(std::string_view text);

}  // namespace client
