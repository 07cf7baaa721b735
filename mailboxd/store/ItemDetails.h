#pragma once

#include <string>
#include <string_view>

#include "mailboxd/store/Store.h"

namespace mailbox {

// The JSON text that keeps the details of an item, and back. Reading takes what it knows and passes
// over the rest; a damaged text leaves the details empty.
std::string WriteDetails(const ItemInfo& item);
void ReadDetails(std::string_view json, ItemInfo& item);

}  // namespace mailbox
