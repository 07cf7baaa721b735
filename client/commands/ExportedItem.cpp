#include "client/commands/ExportedItem.h"

#include <algorithm>

#include "html/CkHtmlToText.h"

namespace client {

std::string PropertyTextOf(const mailbox::ItemInfo& item, std::string_view key) {
  const auto found = std::ranges::find(item.properties, key, &mailbox::ExtendedProperty::key);
  return found == item.properties.end() || found->values.empty() ? std::string()
                                                                 : found->values.front();
}

std::string UidOf(const mailbox::ItemInfo& item) {
  // A key that came twice has the hash of its item behind it.
  const std::string key = PropertyTextOf(item, "named:PublicStrings:name:TarnyKey");
  const std::string uid = key.substr(0, key.find(" sha256:"));
  return uid.empty() ? "item-" + std::to_string(item.id) + "@mailbox" : uid;
}

std::string PlainBodyOf(const mailbox::ItemInfo& item) {
  if (item.bodyType != "HTML") return item.body;
  CkHtmlToText converter;
  converter.put_Utf8(true);
  const char* text = converter.toText(item.body.c_str());
  return text != nullptr ? text : std::string();
}

}  // namespace client
