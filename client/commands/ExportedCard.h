#pragma once

#include <cstdint>
#include <string>

#include "mailboxd/store/Store.h"

namespace client {

// A contact, with its photo, or a group as a card (RFC 2426, with the properties that address books
// write for what it has none for).
// Adds to leftOut the attachments that a card has no place for.
std::string CardTextOf(mailbox::Store& store, const mailbox::ItemInfo& item,
                       std::uint64_t& leftOut);

}  // namespace client
