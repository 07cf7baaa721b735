#include "mailboxd/ews/ItemClasses.h"

#include <algorithm>
#include <array>
#include <map>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/EwsSchemaTable.h"
#include "mailboxd/store/ItemFields.h"

namespace mailbox {
namespace {

constexpr std::array<ItemClass, 6> kClasses = {{
    {"Message", "message", "IPM.Note", "", ""},
    {"CalendarItem", "calendar", "IPM.Appointment", "IPF.Appointment",
     "ErrorCannotCreateCalendarItemInNonCalendarFolder"},
    {"Contact", "contacts", "IPM.Contact", "IPF.Contact",
     "ErrorCannotCreateContactInNonContactFolder"},
    {"DistributionList", "distributionlist", "IPM.DistList", "IPF.Contact",
     "ErrorCannotCreateContactInNonContactFolder"},
    {"Task", "task", "IPM.Task", "IPF.Task", "ErrorCannotCreateTaskInNonTaskFolder"},
    {"Item", "item", "IPM.Note", "", ""},  // only inside another
}};

constexpr std::array<EntryPath, 8> kEntries = {{
    {"contacts:EmailAddress", "EmailAddresses", ""},
    {"contacts:PhoneNumber", "PhoneNumbers", ""},
    {"contacts:ImAddress", "ImAddresses", ""},
    {"contacts:PhysicalAddress:Street", "PhysicalAddresses", "Street"},
    {"contacts:PhysicalAddress:City", "PhysicalAddresses", "City"},
    {"contacts:PhysicalAddress:State", "PhysicalAddresses", "State"},
    {"contacts:PhysicalAddress:CountryOrRegion", "PhysicalAddresses", "CountryOrRegion"},
    {"contacts:PhysicalAddress:PostalCode", "PhysicalAddresses", "PostalCode"},
}};

// What only one item at a time shows.
constexpr auto kNotInLists = std::to_array<std::string_view>(
    {"MimeContent", "Body", "Attachments", "Sender", "ToRecipients", "CcRecipients",
     "BccRecipients", "ReplyTo", "RequiredAttendees", "OptionalAttendees", "Resources",
     "Recurrence", "Members", "StartTimeZone", "EndTimeZone", "Photo", "UserSMIMECertificate",
     "MSExchangeCertificate"});

// What a field is as long as nobody has set it.
struct Absent {
  std::string_view name;
  std::string_view text;
};
constexpr std::array<Absent, 6> kAbsent = {{
    {"IsAllDayEvent", "false"},
    {"IsCancelled", "false"},
    {"LegacyFreeBusyStatus", "Busy"},
    {"PercentComplete", "0"},
    {"ReminderIsSet", "false"},
    {"Status", "NotStarted"},
}};

// Lists have the fields of a contact that they share with it under the contact's names.
std::string UriOf(const ItemClass& of, std::string_view name, bool isCommon) {
  std::string_view group = isCommon ? "item" : of.group;
  if (group == "distributionlist" && name != "Members") group = "contacts";
  return std::string(group).append(":").append(name);
}

FieldRule::Kind KindOf(std::string_view type) {
  using enum FieldRule::Kind;
  if (type == "DateTime") return kDate;
  for (const std::string_view number : {"Int", "Long", "Boolean", "Minutes"}) {
    if (type == number) return kNumber;
  }
  // Texts that are not looked through.
  for (const std::string_view whole : {"ReadOnly", "Body", "MimeContent"}) {
    if (type == whole) return kTree;
  }
  return schema::Types().at(type).text != nullptr ? kText : kTree;
}

std::string_view AbsentOf(std::string_view name) {
  const auto row = std::ranges::find(kAbsent, name, &Absent::name);
  return row == kAbsent.end() ? std::string_view() : row->text;
}

using FieldTable = std::map<std::string_view, std::vector<FieldRule>>;

FieldTable MakeFields() {
  FieldTable fields;
  const size_t common = schema::Types().at("Item").children.size();
  for (const ItemClass& of : kClasses) {
    for (const schema::ChildRule& child : schema::Types().at(of.element).children) {
      std::vector<FieldRule>& list = fields[of.element];
      list.push_back({std::string(child.name), UriOf(of, child.name, list.size() < common),
                      KindOf(child.type), child.type != "ReadOnly",
                      std::ranges::find(kNotInLists, child.name) == kNotInLists.end(),
                      AbsentOf(child.name)});
    }
  }
  return fields;
}

template <typename Match>
const FieldRule* FindRule(std::string_view element, Match match) {
  const std::vector<FieldRule>& rules = FieldsOf(element);
  const auto found = std::ranges::find_if(rules, match);
  return found == rules.end() ? nullptr : &*found;
}

}  // namespace

const ItemClass* FindItemClass(std::string_view element) {
  const auto found = std::ranges::find(kClasses, element, &ItemClass::element);
  return found == kClasses.end() ? nullptr : &*found;
}

const std::vector<FieldRule>& FieldsOf(std::string_view element) {
  static const FieldTable kFields = MakeFields();
  static const std::vector<FieldRule> kNone;
  const auto found = kFields.find(element);
  return found == kFields.end() ? kNone : found->second;
}

const FieldRule* FindFieldRule(std::string_view element, std::string_view name) {
  return FindRule(element, [&](const FieldRule& rule) { return rule.name == name; });
}

const FieldRule* FindFieldByUri(std::string_view element, std::string_view uri) {
  return FindRule(element, [&](const FieldRule& rule) { return rule.uri == uri; });
}

const EntryPath* FindEntryPath(std::string_view uri) {
  const auto found = std::ranges::find(kEntries, uri, &EntryPath::uri);
  return found == kEntries.end() ? nullptr : &*found;
}

std::string EntryText(const ItemInfo& item, const EntryPath& path, std::string_view key) {
  const FieldTree tree(FindField(item, path.field));
  for (const pugi::xml_node entry : tree.Root().children()) {
    if (entry.attribute("Key").value() != key) continue;
    return std::string(path.part.empty() ? Text(entry) : ChildText(entry, path.part));
  }
  return "";
}

}  // namespace mailbox
