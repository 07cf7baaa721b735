#include "mailboxd/ews/ItemChanges.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/EwsResponse.h"
#include "mailboxd/ews/ExtendedProperties.h"
#include "mailboxd/ews/ItemReading.h"
#include "mailboxd/ews/Operations.h"

namespace mailbox {
namespace {

using Recipients = std::vector<Address> ItemInfo::*;

struct Field {
  std::string_view uri;
  void (*clear)(ItemInfo& item);
  bool mayBeDeleted = true;
  Recipients list = nullptr;  // what is appended to
};

template <auto kMember>
void Clear(ItemInfo& item) {
  item.*kMember = {};
}
// Nothing is left of it to be cleared before another value is set.
void Keep(ItemInfo&) {}

void EraseProperty(std::string_view key, ItemInfo& item) {
  std::erase_if(item.properties, [&](const ExtendedProperty& one) { return one.key == key; });
}

// A client may have given it as a property, too.
void ClearSubject(ItemInfo& item) {
  item.subject.clear();
  EraseProperty(kSubject, item);
}

// The item's own, though it is empty: that of its mail must not show again.
void ClearBody(ItemInfo& item) {
  item.bodyType = "Text";
  item.body.clear();
}

// The properties of messages that can be changed once they are saved; what is not here can only be
// read. Those that may not be deleted always have a value.
constexpr std::array<Field, 15> kFields = {{
    {"item:ItemClass", Keep, false},
    {"item:Subject", ClearSubject},
    {"item:Sensitivity", Keep, false},
    {"item:Body", ClearBody},
    {"item:Categories", Clear<&ItemInfo::categories>},
    {"item:Importance", Keep, false},
    {"item:InReplyTo", Clear<&ItemInfo::inReplyTo>},
    {"message:Sender", Clear<&ItemInfo::sender>},
    {"message:From", Clear<&ItemInfo::from>},
    {"message:IsRead", Keep, false},
    {"message:References", Clear<&ItemInfo::references>},
    {"message:ToRecipients", Clear<&ItemInfo::to>, true, &ItemInfo::to},
    {"message:CcRecipients", Clear<&ItemInfo::cc>, true, &ItemInfo::cc},
    {"message:BccRecipients", Clear<&ItemInfo::bcc>, true, &ItemInfo::bcc},
    {"message:ReplyTo", Clear<&ItemInfo::replyTo>, true, &ItemInfo::replyTo},
}};

enum class Action { kSet, kDelete, kAppend };

struct ActionRow {
  std::string_view element;
  Action action;
  const char* refusal;
};
constexpr std::array<ActionRow, 3> kActions = {{
    {"SetItemField", Action::kSet, "ErrorInvalidPropertySet"},
    {"DeleteItemField", Action::kDelete, "ErrorInvalidPropertyDelete"},
    {"AppendToItemField", Action::kAppend, "ErrorInvalidPropertyAppend"},
}};

// A path as the server writes it back beside an error.
std::string PathXml(pugi::xml_node path) {
  std::string xml = "<t:" + std::string(LocalName(path));
  for (const pugi::xml_attribute attribute : path.attributes()) {
    const std::string_view name(attribute.name());
    const bool own = name != "xmlns" && name.find(':') == std::string_view::npos;
    if (own) xml += XmlAttribute(name, attribute.value());
  }
  return xml + "/>";
}

[[noreturn]] void Refuse(const char* code, pugi::xml_node path) {
  OperationError error = ErrorOf(code);
  error.messageXml = PathXml(path);
  throw error;
}

// The one property in the element that says what is to be set.
pugi::xml_node ValueOf(pugi::xml_node path) {
  const pugi::xml_node holder = NextElement(path);
  const pugi::xml_node value = FirstElement(holder);
  if (!value || NextElement(value)) Refuse("ErrorIncorrectUpdatePropertyCount", path);
  const std::string_view kind = LocalName(holder);
  if (kind != "Message" && kind != "Item") Refuse("ErrorUpdatePropertyMismatch", path);
  return value;
}

void ReadInto(pugi::xml_node value, ItemInfo& item) {
  NewItem read;
  read.info = std::move(item);
  ReadItemField(value, read);
  item = std::move(read.info);
}

void ChangeProperty(pugi::xml_node path, const ActionRow& row, ItemInfo& item) {
  const std::string key = PropertyKey(path);
  if (row.action == Action::kAppend) Refuse(row.refusal, path);
  EraseProperty(key, item);
  if (row.action == Action::kDelete) {
    if (key == kSubject) item.subject.clear();
    return;
  }
  const pugi::xml_node value = ValueOf(path);
  if (LocalName(value) != "ExtendedProperty" ||
      PropertyKey(Child(value, "ExtendedFieldURI")) != key) {
    Refuse("ErrorUpdatePropertyMismatch", path);
  }
  ReadInto(value, item);
  ApplyProperty(item.properties.back(), item);
}

// What a reader sees as the body now, for more to be put behind it.
void TakeBodyOfMail(MailOfItem& mail, ItemInfo& item) {
  const MailContent* const content = mail.Content();
  if (!item.bodyType.empty() || content == nullptr) return;
  const bool isHtml = !content->Html().empty();
  item.bodyType = isHtml ? "HTML" : "Text";
  item.body = isHtml ? content->Html() : content->Text();
}

void Append(const Field& field, pugi::xml_node path, MailOfItem& mail, ItemInfo& item) {
  if (field.uri == "item:Body") TakeBodyOfMail(mail, item);
  const pugi::xml_node value = ValueOf(path);
  if (field.list != nullptr) {
    auto list = std::exchange(item.*field.list, {});
    ReadInto(value, item);
    const auto& added = item.*field.list;
    list.insert(list.end(), added.begin(), added.end());
    item.*field.list = std::move(list);
    return;
  }
  // Text is not made of HTML here, nor HTML of text.
  if (!item.body.empty() && Attribute(value, "BodyType") != item.bodyType) {
    Refuse("ErrorInvalidPropertyAppend", path);
  }
  std::string body = std::exchange(item.body, "");
  ReadInto(value, item);
  item.body = body.append(item.body);
}

void ChangeField(pugi::xml_node path, const ActionRow& row, MailOfItem& mail, ItemInfo& item) {
  const std::string_view uri = Attribute(path, "FieldURI");
  const auto field = std::find_if(kFields.begin(), kFields.end(),
                                  [&](const Field& one) { return one.uri == uri; });
  const bool isDelete = row.action == Action::kDelete;
  const bool isAppend = row.action == Action::kAppend;
  if (field == kFields.end() || LocalName(path) != "FieldURI" ||
      (isDelete && !field->mayBeDeleted) ||
      (isAppend && field->list == nullptr && uri != "item:Body")) {
    Refuse(row.refusal, path);
  }
  if (isDelete) return field->clear(item);
  if (LocalName(ValueOf(path)) != uri.substr(uri.find(':') + 1)) {
    Refuse("ErrorUpdatePropertyMismatch", path);
  }
  if (isAppend) return Append(*field, path, mail, item);
  field->clear(item);
  ReadInto(ValueOf(path), item);
}

}  // namespace

void ApplyChange(pugi::xml_node change, MailOfItem& mail, ItemInfo& item) {
  const auto row = std::find_if(kActions.begin(), kActions.end(), [&](const ActionRow& one) {
    return one.element == LocalName(change);
  });
  const pugi::xml_node path = FirstElement(change);
  if (row == kActions.end() || !path) throw ErrorOf("ErrorInvalidRequest");
  if (LocalName(path) == "ExtendedFieldURI") {
    ChangeProperty(path, *row, item);
  } else {
    ChangeField(path, *row, mail, item);
  }
}

}  // namespace mailbox
