#include <cstddef>
#include <iostream>
#include <optional>
#include <stdexcept>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "base/LogNull.h"
#include "client/commands/Commands.h"
#include "client/commands/MailboxParts.h"
#include "client/show/EmailText.h"
#include "client/show/ItemMime.h"
#include "client/show/JsonText.h"
#include "mailboxd/store/FieldLeaves.h"
#include "mailboxd/store/ItemFields.h"
#include "mailboxd/web/WebHtml.h"
#include "mime/email/EmailBuilding.h"

namespace client {
namespace {

using nlohmann::ordered_json;

constexpr std::size_t kMostLeaves = 100000;  // of one field

std::string MailText(const std::string& mime, bool html) {
  mail::LogNull log;
  const auto email = mail::buildEmail(mime, /*bUtf8=*/false, log);
  if (email == nullptr) throw std::runtime_error("this is no mail: --source shows it");
  if (!html) return ReadableMail(*email);
  const auto text = HtmlOfMail(*email);
  if (!text) throw std::runtime_error(kNoHtmlText);
  return std::string(text->view());
}

ordered_json AddressJson(const mailbox::Address& address) {
  return {{"name", address.name}, {"address", address.address}};
}

ordered_json AddressesJson(const std::vector<mailbox::Address>& addresses) {
  ordered_json list = ordered_json::array();
  for (const mailbox::Address& address : addresses) list.push_back(AddressJson(address));
  return list;
}

// "HomePhone 1; MobilePhone 2".
std::string LeavesText(const mailbox::ItemField& field) {
  const mailbox::FieldTree tree(&field);
  std::string text;
  for (const mailbox::FieldLeaf& leaf : mailbox::LeavesOf(tree.Root(), kMostLeaves)) {
    if (!text.empty()) text += leaf.isSameEntry ? ", " : "; ";
    if (!leaf.name.empty() && !leaf.isSameEntry) text += mailbox::web::Spaced(leaf.name) + " ";
    text += leaf.text;
  }
  return text;
}

// What was set on an item besides what every mail has: dates, places, people, numbers.
std::string FieldsText(const mailbox::ItemInfo& item) {
  std::string text;
  for (const mailbox::ItemField& field : item.fields) {
    AppendField(mailbox::web::Spaced(field.name) + ":", LeavesText(field), text);
  }
  if (item.importance != "Normal") AppendField("Importance:", item.importance, text);
  if (item.sensitivity != "Normal") AppendField("Sensitivity:", item.sensitivity, text);
  AppendField("Categories:", fmt::format("{}", fmt::join(item.categories, "; ")), text);
  return text;
}

// The same for scripts: each text of a field with what names it.
nlohmann::json FieldsJson(const mailbox::ItemInfo& item) {
  nlohmann::json fields = nlohmann::json::object();
  for (const mailbox::ItemField& field : item.fields) {
    const mailbox::FieldTree tree(&field);
    nlohmann::json& leaves = fields[field.name] = nlohmann::json::array();
    for (const mailbox::FieldLeaf& leaf : mailbox::LeavesOf(tree.Root(), kMostLeaves)) {
      leaves.push_back({leaf.name, leaf.text});
    }
  }
  return fields;
}

// Of an item that no mail's bytes were stored for.
std::string ItemText(mailbox::Store& store, const mailbox::ItemInfo& item, bool html) {
  const bool isHtml = item.bodyType == "HTML";
  if (html && !isHtml) throw std::runtime_error("the item has no HTML text");
  if (html) return item.body;
  ordered_json head = {{"subject", item.subject},
                       {"from", item.from ? AddressJson(*item.from) : nullptr},
                       {"to", AddressesJson(item.to)},
                       {"cc", AddressesJson(item.cc)},
                       {"bcc", AddressesJson(item.bcc)},
                       {"date", item.sent},
                       {"attachments", ordered_json::array()}};
  for (const mailbox::AttachmentInfo& file : store.Attachments(item.id)) {
    head["attachments"].push_back(
        {{"filename", file.name}, {"type", file.contentType}, {"size", file.size}});
  }
  const std::string text = isHtml              ? "(HTML text only: --html shows it)\n"
                           : item.body.empty() ? "(no text)\n"
                                               : ReadableLines(item.body);
  return ReadableHead(head) + FieldsText(item) + "\n" + text;
}

}  // namespace

int ShowMailboxItem(mailbox::Store& store, const MailboxItemView& options) {
  const std::optional<mailbox::ItemInfo> item = store.Item(options.item);
  if (!item) throw std::runtime_error(fmt::format("there is no item {}", options.item));
  const std::string mime = MimeOf(store, item->id);
  if (options.json) {
    nlohmann::json object = ItemAsJson(*item);
    object["folder"] = store.FolderPath(item->folder);
    object["mime"] = mime;
    object["body"] = item->body;
    object["fields"] = FieldsJson(*item);
    object["importance"] = item->importance;
    object["sensitivity"] = item->sensitivity;
    object["categories"] = item->categories;
    std::cout << JsonText(object);
    return kExitDone;
  }
  if (mime.empty() && options.source) throw std::runtime_error("the item has no source text");
  if (mime.empty()) {
    std::cout << ItemText(store, *item, options.html);
  } else {
    const bool isShown = !options.source && item->element == "Message";
    const std::string whole = isShown ? WithHead(store, *item, mime) : mime;
    std::cout << (options.source ? whole : MailText(whole, options.html));
  }
  return kExitDone;
}

}  // namespace client
