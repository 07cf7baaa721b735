#pragma once

#include <string>

#include "mailboxd/store/Store.h"

namespace client {

// A mail that was stored as fields, body and files, written as a message, as a reader of mail would
// have it: pictures of the text beside it, other files as attachments. Throws std::exception.
std::string ItemMime(mailbox::Store& store, const mailbox::ItemInfo& item);

// The message of an item that was stored with one. A page with its pictures, as rich text becomes,
// says nothing of people, subject and date, which the item has, and of the files beside it: it gets
// a head of them, and they go with it. A message that says anything of these stays as it is.
std::string WithHead(mailbox::Store& store, const mailbox::ItemInfo& item, std::string mime);

}  // namespace client
