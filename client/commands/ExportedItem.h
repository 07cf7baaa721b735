#pragma once

#include <string>
#include <string_view>

#include "mailboxd/store/Store.h"

// What exported calendars and cards share.
namespace client {

// By which others know the item: its key, or its number here.
std::string UidOf(const mailbox::ItemInfo& item);
// Its body as text, whatever it is.
std::string PlainBodyOf(const mailbox::ItemInfo& item);
// The first value of that extended property; empty where there is none.
std::string PropertyTextOf(const mailbox::ItemInfo& item, std::string_view key);

}  // namespace client
