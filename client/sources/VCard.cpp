#include "client/sources/VCard.h"

#include "base/AsciiText.h"
#include "client/sources/LineDecoding.h"

namespace client {
namespace {

// Of a label of the program's own list, _$!<Anniversary>!$_, the word.
std::string PlainLabel(std::string_view value) {
  std::string label(mail::trimmed(UnescapedText(value)));
  if (!label.starts_with("_$!<") || !label.ends_with(">!$_")) return label;
  return label.substr(4, label.size() - 8);
}

bool Is(const ContentLine& line, std::string_view name, std::string_view value) {
  return line.name == name && UpperAscii(mail::trimmed(line.value)) == value;
}

// In the place of a card inside of another.
ContentLine OwnCard() {
  ContentLine line;
  line.name = "AGENT";
  line.value = "(a card of its own)";
  return line;
}

}  // namespace

const ContentLine* VCard::First(std::string_view name) const {
  for (const ContentLine& property : properties) {
    if (property.name == name) return &property;
  }
  return nullptr;
}

std::string VCard::Text(std::string_view name) const {
  const ContentLine* property = First(name);
  return property ? std::string(mail::trimmed(UnescapedText(property->value))) : std::string();
}

std::string VCard::LabelOf(const ContentLine& property) const {
  const auto label = labels.find(property.group);
  return property.group.empty() || label == labels.end() ? std::string() : label->second;
}

std::string VCard::CountryOf(const ContentLine& property) const {
  const auto country = countries.find(property.group);
  return property.group.empty() || country == countries.end() ? std::string() : country->second;
}

bool VCard::IsGroup() const {
  for (const ContentLine& property : properties) {
    if (Is(property, "KIND", "GROUP") || Is(property, "X-ADDRESSBOOKSERVER-KIND", "GROUP") ||
        Is(property, "X-EVOLUTION-LIST", "TRUE")) {
      return true;
    }
  }
  return false;
}

VCard ParseVCard(std::string_view text) {
  VCard card;
  ContentLineReader reader(text);
  ContentLine line;
  int depth = 0;
  while (reader.Next(line)) {
    if (Is(line, "BEGIN", "VCARD")) {
      if (++depth == 2) card.properties.push_back(OwnCard());
    } else if (Is(line, "END", "VCARD")) {
      if (--depth <= 0) break;
    } else if (depth == 1 && !line.name.empty()) {
      DecodeLine(reader, line);
      if (line.name == "X-ABLABEL") card.labels.try_emplace(line.group, PlainLabel(line.value));
      if (line.name == "X-ABADR") card.countries.try_emplace(line.group, UpperAscii(line.value));
      card.properties.push_back(std::move(line));
    }
  }
  return card;
}

std::vector<VCardExtent> FindVCards(std::string_view text) {
  std::vector<VCardExtent> cards;
  ContentLineReader reader(text);
  ContentLine line;
  bool open = false;
  bool agent = false;   // the line before holds a card inside of this one
  bool inside = false;  // of that card
  while (reader.Next(line)) {
    if (Is(line, "BEGIN", "VCARD")) {
      if (open && agent) {
        inside = true;
      } else {
        cards.push_back({reader.Begin(), reader.End() - reader.Begin(), false});
        open = true;
        inside = false;
      }
    } else if (open && inside && Is(line, "END", "VCARD")) {
      inside = false;
    } else if (open && Is(line, "END", "VCARD")) {
      cards.back().ended = true;
      open = false;
      cards.back().length = reader.End() - cards.back().offset;
    }
    agent = line.name == "AGENT" && mail::trimmed(line.value).empty();
    if (open) cards.back().length = reader.End() - cards.back().offset;
  }
  return cards;
}

}  // namespace client
