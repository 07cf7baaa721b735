#pragma once

#include <string_view>

namespace mailbox {

// Whether a text names a property as FieldURI does: "item:Subject".
bool IsFieldUri(std::string_view text);

}  // namespace mailbox
