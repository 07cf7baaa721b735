#pragma once

#include <string_view>

#include "mailboxd/store/Store.h"
#include "mailboxd/web/WebPages.h"

namespace mailbox::web {

bool IsCalendar(const FolderInfo& folder);

// A month of a calendar, "2024-03"; for "", this one, or the last in which something begins. A
// series stands on each of its days. A text that is no month gets NotFound.
WebReply MonthPage(Store& store, const FolderInfo& folder, std::string_view month);

}  // namespace mailbox::web
