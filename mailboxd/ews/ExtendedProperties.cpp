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

// Sets that have a name besides their GUID. A property is kept under the name, whichever of the two
// it came by.
struct NamedSet {
  std::string_view name;
  std::string_view guid;
};
constexpr std::array<NamedSet, 10> kNamedSets = {{
    {"Meeting", "6ed8da90-450b-101b-98da-00aa003f1305"},
    {"Appointment", "00062002-0000-0000-c000-000000000046"},
    {"Common", "00062008-0000-0000-c000-000000000046"},
    {"PublicStrings", "00020329-0000-0000-c000-000000000046"},
    {"Address", "00062004-0000-0000-c000-000000000046"},
    {"InternetHeaders", "00020386-0000-0000-c000-000000000046"},
    {"CalendarAssistant", "11000e07-b51b-40d6-af21-caa85edab1d0"},
    {"UnifiedMessaging", "4442858e-a9e3-4e80-b900-317a210cc15b"},
    {"Task", "00062003-0000-0000-c000-000000000046"},
    {"Sharing", "00062040-0000-0000-c000-000000000046"},
}};

std::string SetKey(const std::string& guid) {
  const auto row = std::ranges::find(kNamedSets, guid, &NamedSet::guid);
  return row != kNamedSets.end() ? "named:" + std::string(row->name) : "set:" + guid;
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

// How the property is named to a client: as it asked, a tag in hexadecimal.
std::string NameAttributes(std::string_view key, pugi::xml_node asked) {
  constexpr std::string_view kTag = "tag:";
  if (key.starts_with(kTag)) return XmlAttribute("PropertyTag", key.substr(kTag.size()));
  std::string attributes;
  for (const char* const name :
       {"DistinguishedPropertySetId", "PropertySetId", "PropertyName", "PropertyId"}) {
    if (const auto given = asked.attribute(name)) attributes += XmlAttribute(name, given.value());
  }
  return attributes;
}

}  // namespace

std::string PropertyKey(pugi::xml_node uri) {
  if (const auto tag = uri.attribute("PropertyTag")) return TagKey(tag.value());
  std::string key;
  if (const auto set = uri.attribute("PropertySetId")) {
    key = SetKey(Lower(set.value()));
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
  for (std::string& value : property.values) {
    if (!FitsType(property.type, value)) {
      throw OperationError("ErrorInvalidExtendedPropertyValue",
                           "The specified value is invalid for property.");
    }
    // Dates are given back in UTC, as those of fields are.
    if (property.type.starts_with("SystemTime")) value = ReadDateTime(value).value_or(value);
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

void WriteProperty(const ExtendedProperty& property, pugi::xml_node asked, EwsResponse& response) {
  response.Open("t:ExtendedProperty");
  response.Empty("t:ExtendedFieldURI",
                 NameAttributes(property.key, asked) + XmlAttribute("PropertyType", property.type));
  const bool isArray = std::string_view(property.type).ends_with("Array");
  if (isArray) response.Open("t:Values");
  for (const std::string& value : property.values) response.Element("t:Value", value);
  if (isArray) response.Close("t:Values");
  response.Close("t:ExtendedProperty");
}

}  // namespace mailbox
