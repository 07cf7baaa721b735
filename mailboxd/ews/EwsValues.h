#pragma once

#include <string>
#include <string_view>

#include "mailboxd/ews/EwsSchemaTable.h"

namespace mailbox::schema {

// The namespace of the types.
inline constexpr std::string_view kTypesSpace =
    "http://schemas.microsoft.com/exchange/services/2006/types";

// Why a value does not fit its kind, in the words of a violation; "" when it does. Base64 is looked
// at where it is decoded.
std::string WhyNot(const Kind& kind, std::string_view text);

// The kind's data type, as a violation names it.
std::string DataTypeName(const Kind& kind);

}  // namespace mailbox::schema
