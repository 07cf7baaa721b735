#include "mailboxd/ews/ItemChanges.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/EwsResponse.h"
#include "mailboxd/ews/ExtendedProperties.h"
#include "mailboxd/ews/ItemClasses.h"
#include "mailboxd/ews/ItemEdit.h"
#include "mailboxd/ews/ItemReading.h"
#include "mailboxd/ews/Operations.h"

namespace mailbox {
namespace {

using Recipients = std::vector<Address> ItemInfo::*;

struct Field {
  std::string_view uri;
  void (*clear)(ItemEdit& edit);
  bool mayBeDeleted = true;
  Recipients list = nullptr;  // what is appended to
};

template <auto kMember>
void Clear(ItemEdit& edit) {
  edit.Item().*kMember = {};
}
// Nothing is left of it to be cleared before another value is set.
void Keep(ItemEdit&) {}

// A client may have given it as a property, too.
void ClearSubject(ItemEdit& edit) {
  edit.Item().subject.clear();
  edit.EraseProperty(std::string(kSubject));
}

// The item's own, though it is empty: that of its mail must not show again.
void ClearBody(ItemEdit& edit) {
  edit.Item().bodyType = "Text";
  edit.Item().body.clear();
}

// The fields that are more than what a client sends of them. Those that may not be deleted always
// have a value.
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

constexpr std::array<std::string_view, 5> kAddressParts = {"Street", "City", "State",
                                                           "CountryOrRegion", "PostalCode"};

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
  return value;
}

void ChangeProperty(pugi::xml_node path, const ActionRow& row, ItemEdit& edit) {
  const std::string key = PropertyKey(path);
  if (row.action == Action::kAppend) Refuse(row.refusal, path);
  edit.EraseProperty(key);
  if (row.action == Action::kDelete) {
    if (key == kSubject) edit.Item().subject.clear();
    return;
  }
  const pugi::xml_node value = ValueOf(path);
  if (LocalName(value) != "ExtendedProperty" ||
      PropertyKey(Child(value, "ExtendedFieldURI")) != key) {
    Refuse("ErrorUpdatePropertyMismatch", path);
  }
  ApplyProperty(edit.AddProperty(value), edit.Item());
}

// What a reader sees as the body now, for more to be put behind it.
void TakeBodyOfMail(MailOfItem& mail, ItemInfo& item) {
  const MailContent* const content = mail.Content();
  if (!item.bodyType.empty() || content == nullptr) return;
  const bool isHtml = !content->Html().empty();
  item.bodyType = isHtml ? "HTML" : "Text";
  item.body = isHtml ? content->Html() : content->Text();
}

void Append(const Field& field, pugi::xml_node path, MailOfItem& mail, ItemEdit& edit) {
  ItemInfo& item = edit.Item();
  if (field.uri == "item:Body") TakeBodyOfMail(mail, item);
  const pugi::xml_node value = ValueOf(path);
  if (field.list != nullptr) {
    auto list = std::exchange(item.*field.list, {});
    edit.Set(value);
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
  edit.Set(value);
  body += item.body;
  item.body = std::move(body);
}

bool IsList(const FieldRule& rule) {
  constexpr std::array<std::string_view, 4> kLists = {"RequiredAttendees", "OptionalAttendees",
                                                      "Resources", "Members"};
  return std::ranges::find(kLists, rule.name) != kLists.end();
}

// The change of a field that is in the table above.
void ChangeOwn(const Field& field, pugi::xml_node path, const ActionRow& row, MailOfItem& mail,
               ItemEdit& edit) {
  const bool isAppend = row.action == Action::kAppend;
  if (row.action == Action::kDelete) {
    if (!field.mayBeDeleted) Refuse(row.refusal, path);
    return field.clear(edit);
  }
  if (isAppend && field.list == nullptr && field.uri != "item:Body") Refuse(row.refusal, path);
  if (isAppend) return Append(field, path, mail, edit);
  field.clear(edit);
  edit.Set(ValueOf(path));
}

// The change of one that is kept as it came.
void ChangeKept(const FieldRule& rule, pugi::xml_node path, const ActionRow& row, ItemEdit& edit) {
  if (row.action == Action::kAppend) {
    if (!IsList(rule)) Refuse(row.refusal, path);
    return edit.Append(ValueOf(path));
  }
  if (row.action == Action::kSet) return edit.Set(ValueOf(path));
  edit.Delete(rule.name);
}

// MIME content, attachments and what the item is to be found by stand where they were put.
bool MayBeChanged(const FieldRule& rule) {
  constexpr std::array<std::string_view, 6> kFixed = {"MimeContent",      "Attachments",
                                                      "ExtendedProperty", "DateTimeSent",
                                                      "DateTimeReceived", "InternetMessageId"};
  return rule.mayBeSet && std::ranges::find(kFixed, rule.name) == kFixed.end();
}

void ChangeField(pugi::xml_node path, const ActionRow& row, MailOfItem& mail, ItemEdit& edit) {
  const std::string& element = edit.Item().element;
  const std::string_view uri = Attribute(path, "FieldURI");
  const FieldRule* const rule = FindFieldByUri(element, uri);
  if (rule == nullptr || !MayBeChanged(*rule)) Refuse(row.refusal, path);
  if (row.action != Action::kDelete) {
    const std::string_view holder = LocalName(NextElement(path));
    const bool fits =
        LocalName(ValueOf(path)) == rule->name && (holder == element || holder == "Item");
    if (!fits) Refuse("ErrorUpdatePropertyMismatch", path);
  }
  const auto own = std::ranges::find(kFields, uri, &Field::uri);
  if (own != kFields.end()) return ChangeOwn(*own, path, row, mail, edit);
  ChangeKept(*rule, path, row, edit);
}

// The entry of that key, taken out of a dictionary.
pugi::xml_node EntryIn(pugi::xml_node dictionary, std::string_view key) {
  for (auto entry = FirstElement(dictionary); entry; entry = NextElement(entry)) {
    if (Attribute(entry, "Key") == key) return entry;
  }
  return {};
}

// Puts the entry in the place of the one of its key, or of a part of that; without an entry, takes
// it away.
void ReplaceEntry(pugi::xml_node dictionary, const EntryPath& at, const char* key,
                  pugi::xml_node entry) {
  pugi::xml_node old = EntryIn(dictionary, key);
  if (at.part.empty()) {
    if (old) dictionary.remove_child(old);
    if (entry) dictionary.append_copy(entry);
    return;
  }
  if (!old) {
    old = dictionary.append_child("t:Entry");
    old.append_attribute("Key") = key;
  }
  pugi::xml_node after;  // where the part stands among the others
  for (const std::string_view name : kAddressParts) {
    if (name == at.part) break;
    if (const pugi::xml_node part = Child(old, name)) after = part;
  }
  if (const pugi::xml_node part = Child(old, at.part)) old.remove_child(part);
  const pugi::xml_node part = Child(entry, at.part);
  if (!part) return;
  if (after) {
    old.insert_copy_after(part, after);
  } else {
    old.prepend_copy(part);
  }
}

void ChangeEntry(pugi::xml_node path, const ActionRow& row, ItemEdit& edit) {
  const EntryPath* const at = FindEntryPath(Attribute(path, "FieldURI"));
  const bool isAppend = row.action == Action::kAppend;
  if (at == nullptr || isAppend || edit.Item().element != "Contact") Refuse(row.refusal, path);
  const char* const key = path.attribute("FieldIndex").value();
  pugi::xml_node entry;
  if (row.action == Action::kSet) {
    const pugi::xml_node value = ValueOf(path);
    entry = EntryIn(value, key);
    if (LocalName(value) != at->field || !entry) Refuse("ErrorUpdatePropertyMismatch", path);
  }
  ReplaceEntry(edit.Dictionary(at->field), *at, key, entry);
}

void ApplyChange(pugi::xml_node change, MailOfItem& mail, ItemEdit& edit) {
  const auto row = std::ranges::find(kActions, LocalName(change), &ActionRow::element);
  const pugi::xml_node path = FirstElement(change);
  if (row == kActions.end() || !path) throw ErrorOf("ErrorInvalidRequest");
  const std::string_view kind = LocalName(path);
  if (kind == "ExtendedFieldURI") return ChangeProperty(path, *row, edit);
  if (kind == "IndexedFieldURI") return ChangeEntry(path, *row, edit);
  ChangeField(path, *row, mail, edit);
}

}  // namespace

void ApplyChanges(pugi::xml_node updates, MailOfItem& mail, ItemInfo& item) {
  const std::string name = DisplayNameOf(item);
  ItemEdit edit(std::move(item));
  for (auto one = FirstElement(updates); one; one = NextElement(one)) {
    ApplyChange(one, mail, edit);
  }
  item = edit.Finish();
  // A contact whose subject is its name keeps it so.
  if (!name.empty() && item.subject == name) item.subject = DisplayNameOf(item);
  SettleItem(item);
}

}  // namespace mailbox
