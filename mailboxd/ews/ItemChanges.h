#pragma once

#include <pugixml.hpp>

#include "mailboxd/store/MailOfItem.h"
#include "mailboxd/store/Store.h"

namespace mailbox {

// Makes the changes of an UpdateItem request to an item: each sets, deletes or appends to one
// property. The mail is the item's. Throws OperationError for a property that cannot be changed so,
// with its path; the item is to be thrown away then.
void ApplyChanges(pugi::xml_node updates, MailOfItem& mail, ItemInfo& item);

}  // namespace mailbox
