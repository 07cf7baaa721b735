#include "mailboxd/store/Occurrences.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

#include "mailboxd/store/DateTime.h"

namespace mailbox {
namespace {

constexpr const char* kRoot = "t:Occurrences";
constexpr std::int64_t kLongestSeen = 366 * 86400;  // seconds before its start is looked for
constexpr std::string_view kDeleted = "t:Deleted";
constexpr std::string_view kChanged = "t:Changed";

// Fields that an item does not keep as XML.
struct TextRow {
  std::string_view name;
  std::string ItemInfo::*member;
};
constexpr std::array<TextRow, 3> kTexts = {{
    {"Subject", &ItemInfo::subject},
    {"Importance", &ItemInfo::importance},
    {"Sensitivity", &ItemInfo::sensitivity},
}};

std::string Xml(pugi::xml_node node) {
  std::ostringstream out;
  node.print(out, "", pugi::format_raw);
  return out.str();
}

ItemField DateField(const char* name, std::int64_t seconds) {
  const std::string tag = std::string("t:") + name;
  return {name, "<" + tag + ">" + FormatDateTime(seconds) + "</" + tag + ">"};
}

void TakeField(pugi::xml_node node, ItemInfo& item) {
  const std::string_view name = std::string_view(node.name()).substr(2);
  const auto text = std::ranges::find(kTexts, name, &TextRow::name);
  if (text != kTexts.end()) {
    item.*text->member = node.child_value();
  } else if (name == "Body") {
    item.body = node.child_value();
    item.bodyType = node.attribute("BodyType").value();
  } else {
    ReplaceField({std::string(name), Xml(node)}, item);
  }
}

void GiveField(const std::string& name, const ItemInfo& item, pugi::xml_node entry) {
  const std::string tag = "t:" + name;
  while (entry.remove_child(tag.c_str())) {
  }
  const auto text = std::ranges::find(kTexts, name, &TextRow::name);
  if (text != kTexts.end()) {
    entry.append_child(tag.c_str()).text() = (item.*text->member).c_str();
  } else if (name == "Body") {
    pugi::xml_node body = entry.append_child(tag.c_str());
    body.append_attribute("BodyType") = item.bodyType.c_str();
    body.text() = item.body.c_str();
  } else if (const ItemField* const field = FindField(item, name)) {
    entry.append_copy(FieldTree(field).Root());
  }
}

}  // namespace

void ReplaceField(ItemField field, ItemInfo& item) {
  std::erase_if(item.fields, [&](const ItemField& one) { return one.name == field.name; });
  item.fields.push_back(std::move(field));
}

std::optional<Occurrences> Occurrences::Of(const ItemInfo& master) {
  auto series = Series::Of(master);
  if (!series) return std::nullopt;
  return Occurrences(master, std::move(*series));
}

Occurrences::Occurrences(const ItemInfo& master, Series series)
    : m_master(&master),
      m_series(std::move(series)),
      m_length(ReadSeconds(master.ends).value_or(0) - ReadSeconds(master.starts).value_or(0)),
      m_tree(std::make_shared<FieldTree>(FindField(master, kOccurrencesField))) {
  for (const pugi::xml_node entry : m_tree->Root().children()) {
    m_entries[entry.attribute("Key").as_llong()] = entry;
  }
}

bool Occurrences::IsDeleted(std::int64_t number) const {
  const auto found = m_entries.find(number);
  return found != m_entries.end() && found->second.name() == kDeleted;
}

pugi::xml_node Occurrences::ChangedEntry(std::int64_t number) const {
  const auto found = m_entries.find(number);
  const bool isChanged = found != m_entries.end() && found->second.name() == kChanged;
  return isChanged ? found->second : pugi::xml_node();
}

std::vector<Occurrences::Place> Occurrences::Between(std::int64_t from, std::int64_t to) const {
  const auto isSeen = [&](std::int64_t start, std::int64_t end) {
    return start < to && (start >= from || end > from);
  };
  std::vector<Place> places;
  const std::int64_t length = std::clamp<std::int64_t>(m_length, 0, kLongestSeen);
  for (const Series::Occurrence& one : m_series.Between(from - length, to)) {
    if (m_entries.contains(one.number) || !isSeen(one.start, one.start + length)) continue;
    places.push_back({one.number, one.start, false});
  }
  for (const auto& [number, entry] : m_entries) {  // they may have been moved
    const auto item = At(number);
    const auto start = item ? ReadSeconds(item->starts) : std::nullopt;
    if (!start || !isSeen(*start, ReadSeconds(item->ends).value_or(*start))) continue;
    places.push_back({number, *start, true});
  }
  std::ranges::sort(places, {}, &Place::start);
  return places;
}

std::optional<ItemInfo> Occurrences::At(std::int64_t number) const {
  const auto start = m_series.StartOf(number);
  if (!start || IsDeleted(number)) return std::nullopt;
  return Make(number, *start);
}

std::vector<ItemInfo> Occurrences::AllChanged() const {
  std::vector<ItemInfo> items;
  for (const auto& [number, entry] : m_entries) {
    if (auto item = At(number)) items.push_back(std::move(*item));
  }
  return items;
}

std::vector<std::string> Occurrences::DeletedStarts() const {
  std::vector<std::string> starts;
  for (const auto& [number, entry] : m_entries) {
    if (entry.name() == kDeleted) starts.emplace_back(entry.child_value());
  }
  return starts;
}

ItemInfo Occurrences::Make(std::int64_t number, std::int64_t start) const {
  ItemInfo item = *m_master;
  std::erase_if(item.fields, [](const ItemField& field) {
    return field.name == "Recurrence" || field.name == kOccurrencesField;
  });
  ReplaceField(DateField("Start", start), item);
  ReplaceField(DateField("End", start + m_length), item);
  const pugi::xml_node entry = ChangedEntry(number);
  for (const pugi::xml_node field : entry.children()) TakeField(field, item);
  item.occurrence = {number, FormatDateTime(start), static_cast<bool>(entry)};
  SetListColumns(item);
  return item;
}

ItemField Occurrences::WithDeleted(std::int64_t number) const {
  FieldTree tree(FindField(*m_master, kOccurrencesField));
  pugi::xml_node root = tree.RootNamed(kRoot);
  root.remove_child(root.find_child_by_attribute("Key", std::to_string(number).c_str()));
  pugi::xml_node entry = root.append_child(kDeleted.data());
  entry.append_attribute("Key") = static_cast<long long>(number);
  entry.text() = FormatDateTime(m_series.StartOf(number).value_or(0)).c_str();
  return {kOccurrencesField, Xml(root)};
}

ItemField Occurrences::WithChanged(std::int64_t number, const std::vector<std::string>& fields,
                                   const ItemInfo& changed) const {
  FieldTree tree(FindField(*m_master, kOccurrencesField));
  pugi::xml_node root = tree.RootNamed(kRoot);
  pugi::xml_node entry = root.find_child_by_attribute("Key", std::to_string(number).c_str());
  if (!entry) {
    entry = root.append_child(kChanged.data());
    entry.append_attribute("Key") = static_cast<long long>(number);
  }
  for (const std::string& name : fields) GiveField(name, changed, entry);
  return {kOccurrencesField, Xml(root)};
}

}  // namespace mailbox
