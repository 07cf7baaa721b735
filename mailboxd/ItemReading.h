#pragma once

#include <pugixml.hpp>

#include "mailboxd/Store.h"

namespace mailbox {

// A new item out of its element in a CreateItem request; what the request says wins over what its
// MIME content says. Throws OperationError, and SoapFault, for values that cannot be.
NewItem ReadNewItem(pugi::xml_node node);

}  // namespace mailbox
