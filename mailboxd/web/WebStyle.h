#pragma once

#include <string_view>

namespace mailbox::web {

// The pages' style sheet: light and dark, and for narrow windows too.
std::string_view Style();

}  // namespace mailbox::web
