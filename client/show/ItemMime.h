#pragma once

#include <string>

#include "mailboxd/store/Store.h"

namespace client {

// A mail that was stored as fields, body and files, written as a message, as a reader of mail would
// have it: pictures of the text beside it, other files as attachments. Throws std::exception.
std::string ItemMime(mailbox::Store& store, const mailbox::ItemInfo& item);

}  // namespace client
