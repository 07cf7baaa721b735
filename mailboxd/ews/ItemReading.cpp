#include "mailboxd/ews/ItemReading.h"

#include <array>
#include <string>

#include "base/WholeNumber.h"
#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/ExtendedProperties.h"
#include "mailboxd/ews/Operations.h"
#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/MimeProperties.h"
#include "platform/Base64.h"

namespace mailbox {
namespace {

Address ReadMailbox(pugi::xml_node node) {
  return {std::string(ChildText(node, "Name")), std::string(ChildText(node, "EmailAddress")),
          std::string(ChildText(node, "RoutingType"))};
}

std::vector<Address> ReadMailboxes(pugi::xml_node list) {
  std::vector<Address> addresses;
  for (auto node = FirstElement(list); node; node = NextElement(node)) {
    addresses.push_back(ReadMailbox(node));
  }
  return addresses;
}

void ReadMime(pugi::xml_node node, NewItem& item) {
  const pugi::xml_node content = Child(node, "MimeContent");
  if (!content) return;
  if (!platform::Base64Decode(Text(content), item.mime)) {
    throw ErrorOf("ErrorMimeContentInvalidBase64String");
  }
  item.hasMime = true;
  item.mimeCharset = Attribute(content, "CharacterSet");
  TakeFromMime(item.mime, item.info);
}

struct TextField {
  std::string_view element;
  std::string ItemInfo::*member;
};
constexpr std::array<TextField, 7> kTexts = {{
    {"ItemClass", &ItemInfo::itemClass},
    {"Subject", &ItemInfo::subject},
    {"Sensitivity", &ItemInfo::sensitivity},
    {"Importance", &ItemInfo::importance},
    {"InReplyTo", &ItemInfo::inReplyTo},
    {"InternetMessageId", &ItemInfo::messageId},
    {"References", &ItemInfo::references},
}};

struct RecipientField {
  std::string_view element;
  std::vector<Address> ItemInfo::*member;
};
constexpr std::array<RecipientField, 4> kRecipients = {{
    {"ToRecipients", &ItemInfo::to},
    {"CcRecipients", &ItemInfo::cc},
    {"BccRecipients", &ItemInfo::bcc},
    {"ReplyTo", &ItemInfo::replyTo},
}};

}  // namespace

void ApplyProperty(const ExtendedProperty& property, ItemInfo& item) {
  if (property.values.empty()) return;
  const std::string& value = property.values.front();
  if (property.key == kMessageFlags) {
    item.isDraft = (mail::wholeNumber<int>(value).value_or(0) & kUnsentFlag) != 0;
  } else if (property.key == kDeliveryTime) {
    item.received = ReadDateTime(value).value_or(item.received);
  } else if (property.key == kSubmitTime) {
    item.sent = ReadDateTime(value).value_or(item.sent);
  } else if (property.key == kSubject) {
    item.subject = value;
  } else if (property.key == kMessageIdKey) {
    item.messageId = value;
  }
}

void ReadItemField(pugi::xml_node child, NewItem& item) {
  ItemInfo& info = item.info;
  const std::string_view name = LocalName(child);
  for (const TextField& row : kTexts) {
    if (row.element == name) info.*row.member = Text(child);
  }
  for (const RecipientField& row : kRecipients) {
    if (row.element == name) info.*row.member = ReadMailboxes(child);
  }
  if (name == "Body") {
    info.body = Text(child);
    info.bodyType = Attribute(child, "BodyType");
  } else if (name == "IsRead") {
    info.isRead = IsTrue(Text(child));
  } else if (name == "From") {
    info.from = ReadMailbox(FirstElement(child));
  } else if (name == "Sender") {
    info.sender = ReadMailbox(FirstElement(child));
  } else if (name == "DateTimeSent") {
    info.sent = ReadDateTime(Text(child)).value_or("");
  } else if (name == "DateTimeReceived") {
    info.received = ReadDateTime(Text(child)).value_or("");
  } else if (name == "Categories") {
    for (auto one = FirstElement(child); one; one = NextElement(one)) {
      info.categories.emplace_back(Text(one));
    }
  } else if (name == "Attachments") {
    for (auto one = FirstElement(child); one; one = NextElement(one)) {
      item.attachments.push_back(ReadAttachment(one));
    }
  } else if (name == "ExtendedProperty") {
    info.properties.push_back(ReadProperty(child));
  }
}

NewItem ReadNewItem(pugi::xml_node node) {
  NewItem item;
  ReadMime(node, item);
  for (auto child = FirstElement(node); child; child = NextElement(child))
    ReadItemField(child, item);
  for (const ExtendedProperty& property : item.info.properties) ApplyProperty(property, item.info);
  if (item.info.received.empty()) item.info.received = UtcNow();
  if (item.info.itemClass.empty()) item.info.itemClass = "IPM.Note";
  return item;
}

}  // namespace mailbox
