#pragma once

#include <string>

#include "mailboxd/store/Store.h"
#include "target/RdoStore.h"

namespace localstore {

// What a contact of a store has in that field, UTF-8; "" for nothing.
std::string ContactText(const mailbox::ItemInfo& contact, rdo::ContactField field);

}  // namespace localstore
