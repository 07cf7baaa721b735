#pragma once

#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "mailboxd/ews/EwsResponse.h"
#include "mailboxd/store/Store.h"

namespace mailbox {

// Properties that clients name by tag or by set. The key is the same for every spelling of a name.

// The key of an ExtendedFieldURI element; throws OperationError for one that names nothing.
std::string PropertyKey(pugi::xml_node uri);
// Reads an ExtendedProperty element; throws OperationError for a value that is not of its type.
ExtendedProperty ReadProperty(pugi::xml_node node);
// Under the name by which the client asked for it, an ExtendedFieldURI element.
void WriteProperty(const ExtendedProperty& property, pugi::xml_node asked, EwsResponse& response);

// One of an item: as it was given, or made of the field that it is; nothing where the item has
// neither. The type is what the client asks for, for a property that nobody gave.
std::optional<ExtendedProperty> PropertyOf(const ItemInfo& item, std::string_view key,
                                           std::string_view type);

// The properties that are also fields of the item.
inline constexpr std::string_view kMessageFlags = "tag:0xe07";
inline constexpr int kReadFlag = 1;    // bits of the flags
inline constexpr int kUnsentFlag = 8;  // the item is a draft
inline constexpr std::string_view kDeliveryTime = "tag:0xe06";
inline constexpr std::string_view kSubmitTime = "tag:0x39";
inline constexpr std::string_view kSubject = "tag:0x37";

}  // namespace mailbox
