#pragma once

#include <pugixml.hpp>

#include "mailboxd/store/Store.h"

namespace mailbox {

// A new item out of its element in a CreateItem request; what the request says wins over what its
// MIME content says. Throws OperationError, and SoapFault, for values that cannot be.
NewItem ReadNewItem(pugi::xml_node node);

// Reads one of the properties in it; elements that stand for none are passed over. Categories,
// attachments and extended properties come behind those that the item has.
void ReadItemField(pugi::xml_node element, NewItem& item);
// Some extended properties are fields of the item under another name: sets those.
void ApplyProperty(const ExtendedProperty& property, ItemInfo& item);

}  // namespace mailbox
