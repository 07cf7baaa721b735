#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mailboxd/store/Store.h"

namespace mailbox {

// The classes of items: where each may lie, and which fields it has.
struct ItemClass {
  std::string_view element;      // "CalendarItem"
  std::string_view group;        // in front of the names of its own fields: "calendar"
  std::string_view itemClass;    // "IPM.Appointment", unless the item says otherwise
  std::string_view folderClass;  // "IPF.Appointment"; "" for any
  std::string_view mismatch;     // the response code for any other folder
};
// Null for an element that is no item.
const ItemClass* FindItemClass(std::string_view element);

struct FieldRule {
  std::string name;
  std::string uri;                                                      // "calendar:Start"
  enum class Kind { kText, kNumber, kDate, kTree } kind = Kind::kText;  // what it holds
  bool mayBeSet = true;
  bool inLists = true;           // FindItem shows it, too
  std::string_view absent = {};  // what it is as long as nobody has set it; "" for nothing
};
// In the order in which they stand in an item; none for an element that is no item.
const std::vector<FieldRule>& FieldsOf(std::string_view element);
// Null where the class has none of that name, or of that URI.
const FieldRule* FindFieldRule(std::string_view element, std::string_view name);
const FieldRule* FindFieldByUri(std::string_view element, std::string_view uri);

// The entries of a contact that IndexedFieldURI names.
struct EntryPath {
  std::string_view uri;    // "contacts:PhysicalAddress:City"
  std::string_view field;  // "PhysicalAddresses"
  std::string_view part;   // "City"; "" for the whole text
};
const EntryPath* FindEntryPath(std::string_view uri);
// What an item has there under that key; "" for nothing.
std::string EntryText(const ItemInfo& item, const EntryPath& path, std::string_view key);

}  // namespace mailbox
