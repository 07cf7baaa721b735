#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "mailboxd/ews/EwsSchemaTable.h"

// What the tables of EwsSchemaTable.cpp and EwsItemSchemaTable.cpp are written with.
namespace mailbox::schema {

inline const Kind kString{Value::kString, "string", {}};
inline const Kind kNonEmpty{Value::kNonEmpty, "NonEmptyStringType", {}};
inline const Kind kBoolean{Value::kBoolean, "boolean", {}};
inline const Kind kInt{Value::kInt, "int", {}};
inline const Kind kDateTime{Value::kDateTime, "dateTime", {}};
inline const Kind kBase64{Value::kBase64, "base64Binary", {}};
inline const Kind kGuid{Value::kGuid, "GuidType", {}};

// One-line makers for the many types that are alike.
inline Type TextOf(const Kind& kind, std::vector<AttributeRule> attributes = {}) {
  Type type;
  type.text = &kind;
  type.attributes = std::move(attributes);
  return type;
}
inline Type Of(Order order, Space space, std::vector<ChildRule> children,
               std::vector<AttributeRule> attributes = {}, std::string_view base = {}) {
  Type type;
  type.order = order;
  type.space = space;
  type.children = std::move(children);
  type.attributes = std::move(attributes);
  type.base = base;
  return type;
}
// One child of each group; each number is where a group ends.
inline Type OneOfEach(std::vector<std::size_t> groups, Type type) {
  type.order = Order::kOneOf;
  type.groups = std::move(groups);
  return type;
}
inline Type Open(std::vector<AttributeRule> attributes = {}) {
  return Of(Order::kOpen, Space::kTypes, {}, std::move(attributes));
}

inline constexpr bool kRequired = true;
inline constexpr bool kOptional = false;
inline constexpr bool kMany = true;

// The items of every class, and what they are made of.
void AddItemTypes(TypeTable& types);

}  // namespace mailbox::schema
