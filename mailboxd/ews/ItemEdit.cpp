#include "mailboxd/ews/ItemEdit.h"

#include <algorithm>
#include <set>
#include <utility>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/FieldXml.h"
#include "mailboxd/ews/ItemReading.h"

namespace mailbox {
namespace {

void EraseField(std::string_view field, ItemInfo& item) {
  std::erase_if(item.fields, [&](const ItemField& one) { return one.name == field; });
}

// A reader sees the first of a key.
void DropRepeatedKeys(pugi::xml_node dictionary) {
  std::set<std::string> keys;
  for (pugi::xml_node next, entry = FirstElement(dictionary); entry; entry = next) {
    next = NextElement(entry);
    if (!keys.emplace(Attribute(entry, "Key")).second) dictionary.remove_child(entry);
  }
}

}  // namespace

void ItemEdit::Set(pugi::xml_node field) {
  ReadItemField(field, m_read);
  m_dictionaries.erase(std::string(LocalName(field)));
}

void ItemEdit::Delete(std::string_view field) {
  EraseField(field, Item());
  m_dictionaries.erase(std::string(field));
}

void ItemEdit::Append(pugi::xml_node field) {
  NewItem alone;
  alone.info.element = Item().element;
  ReadItemField(field, alone);
  ItemField& added = alone.info.fields.back();
  const auto there = std::ranges::find(Item().fields, added.name, &ItemField::name);
  if (there == Item().fields.end()) {
    Item().fields.push_back(std::move(added));
    return;
  }
  const std::string close = "</t:" + added.name + ">";
  if (there->xml.ends_with(close)) {
    there->xml.resize(there->xml.size() - close.size());
    there->xml.append(added.xml, added.xml.find('>') + 1);
  } else {
    there->xml = std::move(added.xml);
  }
}

ItemEdit::Positions& ItemEdit::PropertiesByKey() {
  if (!m_positions) {
    m_positions.emplace();
    const auto& list = Item().properties;
    for (size_t i = 0; i < list.size(); ++i) m_positions->emplace(list[i].key, i);
  }
  return *m_positions;
}

const ExtendedProperty& ItemEdit::AddProperty(pugi::xml_node property) {
  Positions& positions = PropertiesByKey();
  ReadItemField(property, m_read);
  positions.emplace(Item().properties.back().key, Item().properties.size() - 1);
  return Item().properties.back();
}

void ItemEdit::EraseProperty(const std::string& key) {
  const auto [first, last] = PropertiesByKey().equal_range(key);
  for (auto one = first; one != last; ++one) Item().properties[one->second] = {};
  m_positions->erase(first, last);
}

pugi::xml_node ItemEdit::Dictionary(std::string_view field) {
  const std::string tag = "t:" + std::string(field);
  const auto [place, isNew] =
      m_dictionaries.try_emplace(std::string(field), FindField(Item(), field));
  const pugi::xml_node root = place->second.RootNamed(tag.c_str());
  if (isNew) DropRepeatedKeys(root);
  return root;
}

ItemInfo ItemEdit::Finish() {
  std::erase_if(Item().properties, [](const ExtendedProperty& one) { return one.key.empty(); });
  m_positions.reset();
  for (const auto& [field, tree] : m_dictionaries) {
    EraseField(field, Item());
    if (FirstElement(tree.Root())) Item().fields.push_back({field, FieldXml(tree.Root())});
  }
  m_dictionaries.clear();
  return std::move(Item());
}

}  // namespace mailbox
