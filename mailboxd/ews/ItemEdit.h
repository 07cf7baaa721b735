#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>

#include "mailboxd/store/ItemFields.h"
#include "mailboxd/store/Store.h"

namespace mailbox {

// An item while a request changes it. What one change after another would have to look for among
// many, or to write anew, is kept at hand until all are made, so that each costs what it holds.
class ItemEdit {
 public:
  explicit ItemEdit(ItemInfo item) { m_read.info = std::move(item); }
  // The item as it is now, to be called last.
  ItemInfo Finish();

  ItemInfo& Item() { return m_read.info; }
  // Sets the field that the element is. Throws OperationError.
  void Set(pugi::xml_node field);
  void Delete(std::string_view field);
  // Puts what is in the element, a list, behind what the item has there.
  void Append(pugi::xml_node field);

  // Puts an extended property behind the others, and returns it.
  const ExtendedProperty& AddProperty(pugi::xml_node property);
  void EraseProperty(const std::string& key);

  // The entries of a contact's field, one for each key, to be changed in place.
  pugi::xml_node Dictionary(std::string_view field);

 private:
  using Positions = std::unordered_multimap<std::string, size_t>;
  Positions& PropertiesByKey();

  NewItem m_read;
  std::optional<Positions> m_positions;  // in the list; who is erased has no key any more
  std::map<std::string, FieldTree, std::less<>> m_dictionaries;
};

}  // namespace mailbox
