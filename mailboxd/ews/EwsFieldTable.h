#pragma once

#include <string_view>

namespace mailbox {

// Whether a text names a property as FieldURI does: "item:Subject". The names of folders, items and
// messages are known one by one; of the kinds that are not kept yet, any name of letters is taken.
bool IsFieldUri(std::string_view text);

}  // namespace mailbox
