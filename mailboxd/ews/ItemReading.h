#pragma once

#include <pugixml.hpp>
#include <string>

#include "mailboxd/store/Store.h"

namespace mailbox {

// A new item out of its element in a CreateItem request; what the request says wins over what its
// MIME content says. Throws OperationError, and SoapFault, for values that cannot be.
NewItem ReadNewItem(pugi::xml_node node);
// The same into an item that may have MIME content already, and attachments.
void ReadNewItem(pugi::xml_node node, NewItem& item);

// A series counts its days and keeps its hour in the zone of whoever made it: keeps that, unless it
// is empty or the item says another.
void KeepZone(const std::string& zone, ItemInfo& item);

// Reads one of the fields in it. Attachments and extended properties come behind those that the
// item has; any other field takes the place of what was there. Throws OperationError for one that
// only the server sets.
void ReadItemField(pugi::xml_node element, NewItem& item);
// Some extended properties are fields of the item under another name: sets those.
void ApplyProperty(const ExtendedProperty& property, ItemInfo& item);

// What a contact or a list of them is called.
std::string DisplayNameOf(const ItemInfo& item);
// To be called when an item has been read or changed: looks at what its fields say together. Throws
// OperationError for what cannot be, such as an end before its start.
void SettleItem(ItemInfo& item);

}  // namespace mailbox
