#include "mailboxd/ews/ItemReading.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/EwsResponse.h"
#include "mailboxd/ews/ExtendedProperties.h"
#include "mailboxd/ews/FieldXml.h"
#include "mailboxd/ews/ItemClasses.h"
#include "mailboxd/ews/Operations.h"
#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/ItemFields.h"
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

bool ReadText(pugi::xml_node child, ItemInfo& info) {
  const auto row = std::ranges::find(kTexts, LocalName(child), &TextField::element);
  if (row == kTexts.end()) return false;
  info.*row->member = Text(child);
  return true;
}

struct PersonField {
  std::string_view element;
  std::optional<Address> ItemInfo::*member;
};
constexpr std::array<PersonField, 2> kPersons = {{
    {"From", &ItemInfo::from},
    {"Sender", &ItemInfo::sender},
}};

bool ReadPeople(pugi::xml_node child, ItemInfo& info) {
  const std::string_view name = LocalName(child);
  const auto list = std::ranges::find(kRecipients, name, &RecipientField::element);
  if (list != kRecipients.end()) info.*list->member = ReadMailboxes(child);
  const auto person = std::ranges::find(kPersons, name, &PersonField::element);
  if (person != kPersons.end()) info.*person->member = ReadMailbox(FirstElement(child));
  return list != kRecipients.end() || person != kPersons.end();
}

void ReadCategories(pugi::xml_node list, NewItem& item) {
  item.info.categories.clear();
  for (auto one = FirstElement(list); one; one = NextElement(one)) {
    item.info.categories.emplace_back(Text(one));
  }
}
void ReadAttachments(pugi::xml_node list, NewItem& item) {
  CheckLength(list, kMostElements);
  for (auto one = FirstElement(list); one; one = NextElement(one)) {
    item.attachments.push_back(ReadAttachment(one));
  }
}
void ReadBody(pugi::xml_node node, NewItem& item) {
  item.info.body = Text(node);
  item.info.bodyType = Attribute(node, "BodyType");
}

// The other fields that have a member of their own. MIME content is read before all of them.
struct OwnField {
  std::string_view element;
  void (*read)(pugi::xml_node node, NewItem& item);
};
constexpr std::array<OwnField, 8> kOwn = {{
    {"MimeContent", [](pugi::xml_node, NewItem&) {}},
    {"Body", ReadBody},
    {"Categories", ReadCategories},
    {"Attachments", ReadAttachments},
    {"IsRead", [](pugi::xml_node node, NewItem& item) { item.info.isRead = IsTrue(Text(node)); }},
    {"DateTimeSent", [](pugi::xml_node node,
                        NewItem& item) { item.info.sent = ReadDateTime(Text(node)).value_or(""); }},
    {"DateTimeReceived",
     [](pugi::xml_node node, NewItem& item) {
       item.info.received = ReadDateTime(Text(node)).value_or("");
     }},
    {"ExtendedProperty", [](pugi::xml_node node,
                            NewItem& item) { item.info.properties.push_back(ReadProperty(node)); }},
}};

bool ReadOwn(pugi::xml_node child, NewItem& item) {
  const auto row = std::ranges::find(kOwn, LocalName(child), &OwnField::element);
  if (row == kOwn.end()) return false;
  row->read(child, item);
  return true;
}

// As it came, but for dates, which are given back in UTC.
std::string KeptXml(pugi::xml_node child, const FieldRule& rule) {
  if (rule.kind != FieldRule::Kind::kDate) return FieldXml(child);
  const std::string tag = "t:" + rule.name;
  const std::string date = ReadDateTime(mail::trimmed(Text(child))).value_or("");
  return "<" + tag + ">" + date + "</" + tag + ">";
}

// A text is compared with another: dates of the store are all of one form.
void CheckTimes(const ItemInfo& item) {
  if (!item.starts.empty() && !item.ends.empty() && item.ends < item.starts) {
    throw ErrorOf("ErrorCalendarEndDateIsEarlierThanStartDate");
  }
}

std::int64_t NumberIn(pugi::xml_node holder, std::string_view name) {
  return mail::wholeNumber<std::int64_t>(mail::trimmed(ChildText(holder, name))).value_or(0);
}

// What the schema cannot say of a pattern and its range.
void CheckRecurrence(pugi::xml_node recurrence) {
  const pugi::xml_node pattern = FirstElement(recurrence);
  const pugi::xml_node range = NextElement(pattern);
  const auto outside = [](pugi::xml_node holder, std::string_view name, std::int64_t most) {
    if (!Child(holder, name)) return false;
    const std::int64_t number = NumberIn(holder, name);
    return number < 1 || number > most;
  };
  constexpr std::int64_t kMostRepeats = 999;
  if (outside(pattern, "Interval", kMostRepeats) || outside(pattern, "DayOfMonth", 31) ||
      outside(range, "NumberOfOccurrences", kMostRepeats)) {
    throw ErrorOf("ErrorCalendarInvalidRecurrence");
  }
  constexpr size_t kDay = 10;  // what stands in front of a zone
  const std::string_view end = ChildText(range, "EndDate").substr(0, kDay);
  if (!end.empty() && end < ChildText(range, "StartDate").substr(0, kDay)) {
    throw ErrorOf("ErrorRecurrenceHasNoOccurrence");
  }
}

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
  const std::string_view name = LocalName(child);
  const FieldRule* const rule = FindFieldRule(item.info.element, name);
  if (rule == nullptr || !rule->mayBeSet) {
    OperationError error = ErrorOf("ErrorInvalidPropertySet");
    if (rule != nullptr)
      error.messageXml = "<t:FieldURI" + XmlAttribute("FieldURI", rule->uri) + "/>";
    throw error;
  }
  if (ReadText(child, item.info) || ReadPeople(child, item.info) || ReadOwn(child, item)) return;
  std::erase_if(item.info.fields, [&](const ItemField& field) { return field.name == name; });
  item.info.fields.push_back({std::string(name), KeptXml(child, *rule)});
}

std::string DisplayNameOf(const ItemInfo& item) {
  const std::string name = FieldText(item, "DisplayName");
  return name.empty() ? FieldText(item, "FileAs") : name;
}

void SettleItem(ItemInfo& item) {
  SetListColumns(item);
  if (item.element == "CalendarItem") CheckTimes(item);
  CheckRecurrence(FieldTree(FindField(item, "Recurrence")).Root());
}

void KeepZone(const std::string& zone, ItemInfo& item) {
  if (item.element != "CalendarItem" || zone.empty()) return;
  if (FindField(item, "StartTimeZone") != nullptr) return;
  item.fields.push_back({"StartTimeZone", "<t:StartTimeZone" + XmlAttribute("Id", zone) + "/>"});
}

NewItem ReadNewItem(pugi::xml_node node) {
  NewItem item;
  ReadNewItem(node, item);
  return item;
}

void ReadNewItem(pugi::xml_node node, NewItem& item) {
  const ItemClass* const of = FindItemClass(LocalName(node));
  if (of == nullptr) throw ErrorOf("ErrorInvalidOperation");
  item.info.element = of->element;
  item.info.itemClass = of->itemClass;
  // Only what is written and sent can be a draft, or unread.
  item.info.isDraft = of->element == "Message";
  item.info.isRead = !item.info.isDraft;
  ReadMime(node, item);
  if (item.hasMime) TakeFromMime(item.mime, item.info);
  for (auto child = FirstElement(node); child; child = NextElement(child)) {
    ReadItemField(child, item);
  }
  for (const ExtendedProperty& property : item.info.properties) ApplyProperty(property, item.info);
  if (item.info.received.empty()) item.info.received = UtcNow();
  if (item.info.itemClass.empty()) item.info.itemClass = of->itemClass;
  if (item.info.subject.empty()) item.info.subject = DisplayNameOf(item.info);
  SettleItem(item.info);
}

}  // namespace mailbox
