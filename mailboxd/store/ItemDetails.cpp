#include "mailboxd/store/ItemDetails.h"

#include <array>
#include <nlohmann/json.hpp>

namespace mailbox {
namespace {

using nlohmann::json;

struct TextField {
  const char* name;
  std::string ItemInfo::*member;
};
constexpr std::array<TextField, 6> kTexts = {{
    {"importance", &ItemInfo::importance},
    {"sensitivity", &ItemInfo::sensitivity},
    {"bodyType", &ItemInfo::bodyType},
    {"inReplyTo", &ItemInfo::inReplyTo},
    {"messageId", &ItemInfo::messageId},
    {"references", &ItemInfo::references},
}};

struct AddressList {
  const char* name;
  std::vector<Address> ItemInfo::*member;
};
constexpr std::array<AddressList, 4> kLists = {{
    {"to", &ItemInfo::to},
    {"cc", &ItemInfo::cc},
    {"bcc", &ItemInfo::bcc},
    {"replyTo", &ItemInfo::replyTo},
}};

struct SingleAddress {
  const char* name;
  std::optional<Address> ItemInfo::*member;
};
constexpr std::array<SingleAddress, 2> kSingles = {{
    {"from", &ItemInfo::from},
    {"sender", &ItemInfo::sender},
}};

json FromAddress(const Address& address) {
  return json::array({address.name, address.address, address.routing});
}

std::string Text(const json& value) {
  return value.is_string() ? value.get<std::string>() : std::string();
}

Address ToAddress(const json& value) {
  if (!value.is_array() || value.size() != 3) return {};
  return {Text(value[0]), Text(value[1]), Text(value[2])};
}

std::vector<std::string> ToTexts(const json& value) {
  std::vector<std::string> texts;
  if (!value.is_array()) return texts;
  for (const json& one : value) texts.push_back(Text(one));
  return texts;
}

void ReadProperties(const json& value, ItemInfo& item) {
  if (!value.is_array()) return;
  for (const json& one : value) {
    if (!one.is_array() || one.size() != 3) continue;
    item.properties.push_back({Text(one[0]), Text(one[1]), ToTexts(one[2])});
  }
}

void ReadFields(const json& value, ItemInfo& item) {
  if (!value.is_array()) return;
  for (const json& one : value) {
    if (one.is_array() && one.size() == 2) item.fields.push_back({Text(one[0]), Text(one[1])});
  }
}

}  // namespace

std::string WriteDetails(const ItemInfo& item) {
  json object = json::object();
  for (const TextField& field : kTexts) {
    if (!(item.*field.member).empty()) object[field.name] = item.*field.member;
  }
  if (!item.categories.empty()) object["categories"] = item.categories;
  for (const SingleAddress& single : kSingles) {
    if (item.*single.member) object[single.name] = FromAddress(*(item.*single.member));
  }
  for (const AddressList& list : kLists) {
    if ((item.*list.member).empty()) continue;
    json& array = object[list.name] = json::array();
    for (const Address& address : item.*list.member) array.push_back(FromAddress(address));
  }
  if (!item.properties.empty()) {
    json& array = object["properties"] = json::array();
    for (const ExtendedProperty& property : item.properties) {
      array.push_back(json::array({property.key, property.type, property.values}));
    }
  }
  if (!item.fields.empty()) {
    json& array = object["fields"] = json::array();
    for (const ItemField& field : item.fields) {
      array.push_back(json::array({field.name, field.xml}));
    }
  }
  return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

void ReadDetails(std::string_view text, ItemInfo& item) {
  const json object = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!object.is_object()) return;
  const auto find = [&](const char* name) -> const json& {
    static const json kNone;
    const auto found = object.find(name);
    return found == object.end() ? kNone : *found;
  };
  for (const TextField& field : kTexts) {
    if (find(field.name).is_string()) item.*field.member = Text(find(field.name));
  }
  item.categories = ToTexts(find("categories"));
  for (const SingleAddress& single : kSingles) {
    if (find(single.name).is_array()) item.*single.member = ToAddress(find(single.name));
  }
  for (const AddressList& list : kLists) {
    for (const json& one : find(list.name)) (item.*list.member).push_back(ToAddress(one));
  }
  ReadProperties(find("properties"), item);
  ReadFields(find("fields"), item);
}

}  // namespace mailbox
