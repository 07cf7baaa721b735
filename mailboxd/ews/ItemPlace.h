#pragma once

#include <cstdint>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "mailboxd/ews/Operations.h"
#include "mailboxd/store/MailOfItem.h"

namespace mailbox {

// What an id of a request stands for: an item, or one occurrence of a series.
struct ItemPlace {
  std::int64_t row = 0;
  std::int64_t occurrence = 0;  // from 1; 0 for the item itself
};
// Of ItemId, OccurrenceItemId or RecurringMasterItemId. Throws OperationError for what is no id.
ItemPlace PlaceOfItem(pugi::xml_node id);
// That id's element among the others of an ItemChange.
pugi::xml_node IdOfChange(pugi::xml_node change);
// Throws OperationError where nothing is there.
ItemInfo ItemAt(const Context& context, const ItemPlace& place);
// What the item goes by from now on: "Id" and "ChangeKey".
std::string IdAttributesOf(const ItemInfo& item);

// Makes the changes of a request to an occurrence, or takes it away; `master` is the item that is
// its series. What was changed is to be stored.
void ChangeOccurrence(std::int64_t number, pugi::xml_node updates, MailOfItem& mail,
                      ItemInfo& master);
void DeleteOccurrence(std::int64_t number, ItemInfo& master);

// What a calendar shows of a time: single items, and series as the occurrences that they have then,
// by their start; `limit` at most, and how many there are.
struct CalendarPart {
  std::size_t total = 0;
  std::vector<ItemInfo> items;
};
CalendarPart FindInCalendar(const Context& context, const FolderInfo& folder, pugi::xml_node view);

}  // namespace mailbox
