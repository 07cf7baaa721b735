#pragma once

#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "mailboxd/store/Store.h"

namespace mailbox {

// Fields that items keep as XML.

// Null where the item has none of that name.
const ItemField* FindField(const ItemInfo& item, std::string_view name);
// The text that is all it holds, such as a date; "" where there is none.
std::string FieldText(const ItemInfo& item, std::string_view name);
// The text of the entry of that key in a dictionary: ("PhoneNumbers", "HomePhone").
std::string EntryText(const ItemInfo& item, std::string_view name, std::string_view key);

// A field taken apart; empty for one that is not there. Names in it have the prefix t.
class FieldTree {
 public:
  explicit FieldTree(const ItemField* field);
  pugi::xml_node Root() const { return m_document.first_child(); }
  // The same; a new element of that name where there was none.
  pugi::xml_node RootNamed(const char* name) {
    return Root() ? Root() : m_document.append_child(name);
  }

 private:
  pugi::xml_document m_document;
};

// Sets starts, ends, isSeries and who by the other fields.
void SetListColumns(ItemInfo& item);

}  // namespace mailbox
