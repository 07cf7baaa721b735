#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "mailboxd/store/Store.h"
#include "mailboxd/web/WebPages.h"

namespace mailbox::web {

WebReply NotFound();
// The number of a row, or of a part, in a path; 0 for a text that is none.
std::int64_t NumberIn(std::string_view text);

// An item, or what is inside one; `rest` is the path behind "/item/ID", cut at the slashes.
WebReply AnswerItem(Store& store, std::int64_t id, std::span<const std::string_view> rest);
// A file that was stored beside an item.
WebReply AnswerAttachment(Store& store, std::int64_t id);

}  // namespace mailbox::web
