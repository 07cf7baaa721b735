#include "mailboxd/store/ItemFields.h"

#include <algorithm>
#include <array>

#include "mailboxd/store/DateTime.h"

namespace mailbox {
namespace {

struct DateRow {
  std::string_view element;
  std::string_view field;
  std::string ItemInfo::*member;
};
constexpr std::array<DateRow, 4> kDates = {{
    {"CalendarItem", "Start", &ItemInfo::starts},
    {"CalendarItem", "End", &ItemInfo::ends},
    {"Task", "StartDate", &ItemInfo::starts},
    {"Task", "DueDate", &ItemInfo::ends},
}};

std::string WhoOf(const ItemInfo& item) {
  if (item.element == "Contact") return EntryText(item, "EmailAddresses", "EmailAddress1");
  if (item.element == "CalendarItem") return FieldText(item, "Location");
  if (!item.from) return "";
  if (item.from->name.empty()) return item.from->address;
  return item.from->address.empty() ? item.from->name : item.from->name + " " + item.from->address;
}

}  // namespace

const ItemField* FindField(const ItemInfo& item, std::string_view name) {
  const auto found = std::ranges::find(item.fields, name, &ItemField::name);
  return found == item.fields.end() ? nullptr : &*found;
}

FieldTree::FieldTree(const ItemField* field) {
  // Ends of lines stand in it as they are meant; a damaged field is an empty one.
  constexpr unsigned kParse = pugi::parse_default | pugi::parse_ws_pcdata_single;
  if (field != nullptr) m_document.load_buffer(field->xml.data(), field->xml.size(), kParse);
}

std::string FieldText(const ItemInfo& item, std::string_view name) {
  return FieldTree(FindField(item, name)).Root().child_value();
}

std::string EntryText(const ItemInfo& item, std::string_view name, std::string_view key) {
  const FieldTree tree(FindField(item, name));
  for (const pugi::xml_node entry : tree.Root().children()) {
    if (entry.attribute("Key").value() == key) return entry.child_value();
  }
  return "";
}

void SetListColumns(ItemInfo& item) {
  for (const DateRow& row : kDates) {
    if (row.element != item.element) continue;
    item.*row.member = ReadDateTime(FieldText(item, row.field)).value_or("");
  }
  item.isSeries = item.element == "CalendarItem" && FindField(item, "Recurrence") != nullptr;
  item.who = WhoOf(item);
}

}  // namespace mailbox
