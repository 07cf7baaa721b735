#pragma once

#include <string>

#include "mailboxd/store/Store.h"

namespace client {

// A contact, with its photo, or a group as a card (RFC 2426, with the properties that address books
// write for what it has none for).
std::string CardTextOf(mailbox::Store& store, const mailbox::ItemInfo& item);

}  // namespace client
