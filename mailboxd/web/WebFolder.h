#pragma once

#include <cstdint>

#include "mailboxd/store/Store.h"
#include "mailboxd/web/WebPages.h"

namespace mailbox::web {

// The list of a folder's items, what a search finds of them, or a month of a calendar.
WebReply AnswerFolder(Store& store, std::int64_t id, const WebQuery& query);

}  // namespace mailbox::web
