#pragma once

#include <string_view>

#include "mailboxd/store/Store.h"

namespace mailbox {

// Sets what the header of a mail says of it: subject, sender, recipients, dates, importance,
// sensitivity and ids. Fields that are not there leave their properties as they were. Costs what
// the header costs.
void TakeFromMime(std::string_view mime, ItemInfo& item);

}  // namespace mailbox
