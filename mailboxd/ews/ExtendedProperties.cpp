#include "mailboxd/ews/ExtendedProperties.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "base/WholeNumber.h"
#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/store/DateTime.h"

namespace mailbox {
namespace {

constexpr std::string_view kMessageSize = "tag:0xe08";

std::string TagKey(std::string_view text) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  const unsigned tag = mail::wholeNumber<unsigned>(text, hex ? 16 : 10).value_or(0);
  char key[16];
  std::snprintf(key, sizeof key, "tag:0x%x", tag);
  return key;
}

std::string Lower(std::string_view text) { return NormalAddress(text); }

bool FitsType(std::string_view type, const std::string& value) {
  if (type.starts_with("SystemTime")) return ReadDateTime(value).has_value();
  if (type.starts_with("Boolean")) {
    return value == "true" || value == "false" || value == "1" || value == "0";
  }
  if (type.starts_with("Integer") || type.starts_with("Long") || type.starts_with("Short")) {
    return mail::wholeNumber<long long>(value).has_value();
  }
  return true;
}

// The flags as a reader sees them: as they were set, with the bits that the item's state decides.
std::string MessageFlags(const ItemInfo& item, const ExtendedProperty* stored) {
  int flags = 0;
  if (stored != nullptr && !stored->values.empty()) {
    flags = mail::wholeNumber<int>(stored->values.front()).value_or(0);
  }
  flags = (flags & ~(kReadFlag | kUnsentFlag)) | (item.isRead ? kReadFlag : 0) |
          (item.isDraft ? kUnsentFlag : 0);
  return std::to_string(flags);
}

// The fields that clients ask for as properties, too.
struct FieldRow {
  std::string_view key;
  std::string ItemInfo::*member;
};
constexpr std::array<FieldRow, 5> kFields = {{
    {kSubject, &ItemInfo::subject},
    {kMessageIdKey, &ItemInfo::messageId},
    {"tag:0x1a", &ItemInfo::itemClass},
    {kDeliveryTime, &ItemInfo::received},
    {kSubmitTime, &ItemInfo::sent},
}};

// Takes the text up to the next colon off the front.
std::string_view TakePart(std::string_view& key) {
  const size_t colon = key.find(':');
  const std::string_view part = key.substr(0, colon);
  key.remove_prefix(colon == std::string_view::npos ? key.size() : colon + 1);
  return part;
}

}  // namespace

std::string PropertyKey(pugi::xml_node uri) {
  if (const auto tag = uri.attribute("PropertyTag")) return TagKey(tag.value());
  std::string key;
  if (const auto set = uri.attribute("PropertySetId")) {
    key = "set:" + Lower(set.value());
  } else if (const auto named = uri.attribute("DistinguishedPropertySetId")) {
    key = "named:" + std::string(named.value());
  }
  const auto id = uri.attribute("PropertyId");
  const auto name = uri.attribute("PropertyName");
  if (!key.empty() && id) return key + ":id:" + id.value();
  if (!key.empty() && name) return key + ":name:" + name.value();
  throw OperationError("ErrorInvalidExtendedProperty",
                       "The extended property attribute combination is invalid.");
}

ExtendedProperty ReadProperty(pugi::xml_node node) {
  const pugi::xml_node uri = Child(node, "ExtendedFieldURI");
  ExtendedProperty property;
  property.key = PropertyKey(uri);
  property.type = Attribute(uri, "PropertyType");
  if (const pugi::xml_node values = Child(node, "Values")) {
    for (auto value = FirstElement(values); value; value = NextElement(value)) {
      property.values.emplace_back(Text(value));
    }
  } else {
    property.values.emplace_back(ChildText(node, "Value"));
  }
  for (const std::string& value : property.values) {
    if (FitsType(property.type, value)) continue;
    throw OperationError("ErrorInvalidExtendedPropertyValue",
                         "The specified value is invalid for property.");
  }
  return property;
}

std::optional<ExtendedProperty> PropertyOf(const ItemInfo& item, std::string_view key,
                                           std::string_view type) {
  const auto found = std::find_if(item.properties.begin(), item.properties.end(),
                                  [&](const ExtendedProperty& one) { return one.key == key; });
  const ExtendedProperty* stored = found == item.properties.end() ? nullptr : &*found;
  const auto made = [&](std::string value) {
    return ExtendedProperty{std::string(key), std::string(type), {std::move(value)}};
  };
  if (key == kMessageFlags) return made(MessageFlags(item, stored));
  if (stored != nullptr) return *stored;
  if (key == kMessageSize) return made(std::to_string(item.size));
  for (const FieldRow& row : kFields) {
    if (row.key == key && !(item.*row.member).empty()) return made(item.*row.member);
  }
  return std::nullopt;
}

void WriteProperty(const ExtendedProperty& property, EwsResponse& response) {
  std::string_view key = property.key;
  const std::string_view kind = TakePart(key);
  std::string attributes;
  if (kind == "tag") {
    attributes = XmlAttribute("PropertyTag", key);
  } else {
    attributes =
        XmlAttribute(kind == "set" ? "PropertySetId" : "DistinguishedPropertySetId", TakePart(key));
    const std::string_view how = TakePart(key);
    attributes += XmlAttribute(how == "id" ? "PropertyId" : "PropertyName", key);
  }
  response.Open("t:ExtendedProperty");
  response.Empty("t:ExtendedFieldURI", attributes + XmlAttribute("PropertyType", property.type));
  const bool isArray = std::string_view(property.type).ends_with("Array");
  if (isArray) response.Open("t:Values");
  for (const std::string& value : property.values) response.Element("t:Value", value);
  if (isArray) response.Close("t:Values");
  response.Close("t:ExtendedProperty");
}

}  // namespace mailbox
