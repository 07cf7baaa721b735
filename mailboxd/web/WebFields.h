#pragma once

#include <string>
#include <string_view>

#include "mailboxd/store/Store.h"

namespace mailbox::web {

// What was set on an item besides what every mail has: rows of a list, one for each field.
std::string FieldRows(const ItemInfo& item);
// Its extended properties, folded away; "" for none.
std::string PropertyBox(const ItemInfo& item);

// "data:image/png;base64,…" for bytes of a picture that browsers show, by what they begin with; ""
// for anything else.
std::string PictureUrl(std::string_view bytes);

// A heading that opens what stands below it.
std::string Folded(std::string_view title, const std::string& html);

}  // namespace mailbox::web
