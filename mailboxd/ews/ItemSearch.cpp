#include "mailboxd/ews/ItemSearch.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "mailboxd/ews/EwsFailure.h"
#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/ExtendedProperties.h"
#include "mailboxd/ews/ItemClasses.h"
#include "mailboxd/ews/Operations.h"
#include "mailboxd/ews/Restriction.h"
#include "mailboxd/store/ItemFields.h"
#include "platform/Unicode.h"

namespace mailbox {
namespace {

using Kind = FieldValue::Kind;

// `load` is what of an item has to be read for it.
struct FieldRow {
  std::string_view uri;
  FieldValue (*read)(const ItemInfo& item);
  Store::Load load = Store::Load::kWithoutDetails;
};

template <auto kMember>
FieldValue Text(const ItemInfo& item) {
  return FieldValue::Text(item.*kMember);
}
template <auto kMember>
FieldValue Date(const ItemInfo& item) {
  return FieldValue::Date(item.*kMember);
}
template <auto kMember>
FieldValue Number(const ItemInfo& item) {
  return FieldValue::Number(item.*kMember);
}

constexpr std::string_view kMessageIdUri = "message:InternetMessageId";
constexpr std::array<FieldRow, 16> kFields = {{
    {"item:ItemClass", Text<&ItemInfo::itemClass>},
    {"item:Subject", Text<&ItemInfo::subject>},
    {"item:Importance", Text<&ItemInfo::importance>, Store::Load::kWithoutBody},
    {"item:Sensitivity", Text<&ItemInfo::sensitivity>, Store::Load::kWithoutBody},
    {"item:InReplyTo", Text<&ItemInfo::inReplyTo>, Store::Load::kWithoutBody},
    {"item:DateTimeReceived", Date<&ItemInfo::received>},
    {"item:DateTimeSent", Date<&ItemInfo::sent>},
    {"item:DateTimeCreated", Date<&ItemInfo::created>},
    {"item:Size", Number<&ItemInfo::size>},
    {"item:IsDraft", Number<&ItemInfo::isDraft>},
    {"message:IsRead", Number<&ItemInfo::isRead>},
    {kMessageIdUri, Text<&ItemInfo::messageId>, Store::Load::kWithoutBody},
    {"message:References", Text<&ItemInfo::references>, Store::Load::kWithoutBody},
    {"message:From", Text<&ItemInfo::who>},
    {"calendar:Start", Date<&ItemInfo::starts>},
    {"calendar:End", Date<&ItemInfo::ends>},
}};

Kind KindOf(std::string_view propertyType) {
  if (propertyType == "SystemTime") return Kind::kDate;
  for (const std::string_view whole : {"Integer", "Long", "Short", "Boolean"}) {
    if (propertyType == whole) return Kind::kNumber;
  }
  return Kind::kText;
}

// Of a property with several values, the first.
std::optional<FieldValue> ReadExtended(const ItemInfo& item, pugi::xml_node path) {
  const std::string_view type = Attribute(path, "PropertyType");
  const auto property = PropertyOf(item, PropertyKey(path), type);
  if (!property || property->values.empty()) return std::nullopt;
  return ReadValue(KindOf(property->type), property->values.front());
}

// An empty text is none.
std::optional<FieldValue> ValueIfAny(Kind kind, const std::string& text) {
  return text.empty() ? std::nullopt : std::optional(ReadValue(kind, text));
}

// A field that is kept as it came; nothing for one that other classes have.
std::optional<FieldValue> ReadKept(const ItemInfo& item, std::string_view uri) {
  const FieldRule* const rule = FindFieldByUri(item.element, uri);
  if (rule == nullptr) return std::nullopt;
  if (rule->kind == FieldRule::Kind::kTree) throw ErrorOf("ErrorUnsupportedPathForQuery");
  std::string text = FieldText(item, rule->name);
  if (text.empty()) text = rule->absent;
  if (rule->kind == FieldRule::Kind::kDate) return ValueIfAny(Kind::kDate, text);
  return ValueIfAny(rule->kind == FieldRule::Kind::kNumber ? Kind::kNumber : Kind::kText, text);
}

std::optional<FieldValue> ReadEntry(const ItemInfo& item, pugi::xml_node path) {
  const EntryPath* const at = FindEntryPath(Attribute(path, "FieldURI"));
  if (at == nullptr) throw ErrorOf("ErrorUnsupportedPathForQuery");
  return ValueIfAny(Kind::kText, EntryText(item, *at, Attribute(path, "FieldIndex")));
}

const FieldRow* FindRow(std::string_view uri) {
  const auto row = std::ranges::find(kFields, uri, &FieldRow::uri);
  return row == kFields.end() ? nullptr : &*row;
}

std::optional<FieldValue> ReadField(const ItemInfo& item, pugi::xml_node path) {
  if (LocalName(path) == "ExtendedFieldURI") return ReadExtended(item, path);
  if (LocalName(path) == "IndexedFieldURI") return ReadEntry(item, path);
  const std::string_view uri = Attribute(path, "FieldURI");
  const FieldRow* const row = FindRow(uri);
  if (row == nullptr) return ReadKept(item, uri);
  FieldValue value = row->read(item);
  const bool isThere = value.kind == Kind::kNumber || !value.text.empty();
  return isThere ? std::optional(std::move(value)) : std::nullopt;
}

// A text that an item must have to fit, for the store to look it up.
struct NeededText {
  std::string key;
  std::string_view text;
};

// The key under which the store would find a property; "" for one that it does not look up.
std::string LookUpKey(pugi::xml_node path) {
  if (Attribute(path, "FieldURI") == kMessageIdUri) return std::string(kMessageIdKey);
  const bool isString = Attribute(path, "PropertyType") == "String";
  return isString ? PropertyKey(path) : "";
}

std::optional<std::vector<NeededText>> NeededTexts(pugi::xml_node expression);

// All of them for Or, where every part needs one; those of one part for And.
std::optional<std::vector<NeededText>> NeededByParts(pugi::xml_node parts, bool isAnd) {
  std::vector<NeededText> all;
  for (auto part = FirstElement(parts); part; part = NextElement(part)) {
    auto needed = NeededTexts(part);
    if (isAnd && needed) return needed;
    if (isAnd) continue;
    if (!needed) return std::nullopt;
    std::ranges::move(*needed, std::back_inserter(all));
  }
  if (isAnd) return std::nullopt;
  return all;
}

// Texts of which an item must have one to fit; nothing where that cannot be said.
std::optional<std::vector<NeededText>> NeededTexts(pugi::xml_node expression) {
  const std::string_view kind = LocalName(expression);
  if (kind == "And" || kind == "Or") return NeededByParts(expression, kind == "And");
  if (kind != "IsEqualTo") return std::nullopt;
  const pugi::xml_node constant = Child(Child(expression, "FieldURIOrConstant"), "Constant");
  const std::string_view text = Attribute(constant, "Value");
  const std::string key = LookUpKey(FirstElement(expression));
  // The store knows the case of ASCII letters alone.
  const bool isAscii = std::ranges::all_of(text, [](char c) { return (c & 0x80) == 0; });
  const bool known = !key.empty() && !text.empty() && text.size() <= Store::kLongestText && isAscii;
  if (!known) return std::nullopt;
  return std::vector<NeededText>{{key, text}};
}

// What of each item has to be read to look at the paths at or below a node.
Store::Load LoadFor(pugi::xml_node node) {
  for (pugi::xml_node one = node; one;) {
    const std::string_view name = LocalName(one);
    if (name == "ExtendedFieldURI" || name == "IndexedFieldURI") return Store::Load::kWithoutBody;
    const FieldRow* const row = name == "FieldURI" ? FindRow(Attribute(one, "FieldURI")) : nullptr;
    if (name == "FieldURI" && (row == nullptr || row->load == Store::Load::kWithoutBody)) {
      return Store::Load::kWithoutBody;
    }
    pugi::xml_node next = FirstElement(one);
    while (!next && one != node) {
      next = NextElement(one);
      one = one.parent();
    }
    one = next;
  }
  return Store::Load::kWithoutDetails;
}

// In a form in which texts are compared as they stand.
std::optional<FieldValue> Folded(std::optional<FieldValue> value) {
  if (value && value->kind == Kind::kText) {
    value->text = platform::Utf16ToUtf8(platform::UpperUnits(platform::Utf8ToUtf16(value->text)));
  }
  return value;
}

std::weak_ordering CompareFolded(const FieldValue& left, const FieldValue& right) {
  if (left.kind == Kind::kNumber) return left.number <=> right.number;
  return left.text <=> right.text;
}

struct Hit {
  std::int64_t row = 0;
  std::vector<std::optional<FieldValue>> order;  // what it is sorted by
};

class Search {
 public:
  Search(pugi::xml_node restriction, pugi::xml_node sortOrder)
      : m_expression(FirstElement(restriction)), m_orders(sortOrder) {}

  void Look(const ItemInfo& item) {
    const auto read = [&](pugi::xml_node path) { return ReadField(item, path); };
    if (m_expression && !Matches(m_expression, read)) return;
    Hit hit{item.id, {}};
    for (auto order = FirstElement(m_orders); order; order = NextElement(order)) {
      hit.order.push_back(Folded(read(FirstElement(order))));
    }
    m_hits.push_back(std::move(hit));
  }

  std::vector<std::int64_t> Rows() {
    if (m_orders) {
      std::ranges::stable_sort(m_hits, [&](const Hit& a, const Hit& b) { return IsBefore(a, b); });
    }
    std::vector<std::int64_t> rows;
    for (const Hit& hit : m_hits) rows.push_back(hit.row);
    return rows;
  }

 private:
  // What has no such property comes first.
  bool IsBefore(const Hit& left, const Hit& right) const {
    size_t i = 0;
    for (auto order = FirstElement(m_orders); order; order = NextElement(order), ++i) {
      const bool isDescending = Attribute(order, "Order") == "Descending";
      const auto& a = isDescending ? right.order[i] : left.order[i];
      const auto& b = isDescending ? left.order[i] : right.order[i];
      const std::weak_ordering result =
          a && b ? CompareFolded(*a, *b) : std::weak_ordering(a.has_value() <=> b.has_value());
      if (result != 0) return result < 0;
    }
    return false;
  }

  pugi::xml_node m_expression;
  pugi::xml_node m_orders;
  std::vector<Hit> m_hits;
};

// The items that the store finds under those texts, each once, in the order of their rows.
std::map<std::int64_t, ItemInfo> LookUp(Store& store, std::int64_t folder,
                                        const std::vector<NeededText>& texts) {
  std::map<std::int64_t, ItemInfo> items;
  for (const NeededText& needed : texts) {
    for (ItemInfo& item : store.ItemsWithText(folder, needed.key, needed.text)) {
      items.emplace(item.id, std::move(item));
    }
  }
  return items;
}

}  // namespace

std::vector<std::int64_t> SearchItems(Store& store, std::int64_t folder, pugi::xml_node restriction,
                                      pugi::xml_node sortOrder) {
  CheckRestriction(restriction);
  CheckLength(sortOrder, kMostPaths);
  Search search(restriction, sortOrder);
  if (const auto texts = NeededTexts(FirstElement(restriction))) {
    for (const auto& [row, item] : LookUp(store, folder, *texts)) search.Look(item);
  } else {
    const bool needsDetails = LoadFor(restriction) == Store::Load::kWithoutBody ||
                              LoadFor(sortOrder) == Store::Load::kWithoutBody;
    store.ForEachItem(folder,
                      needsDetails ? Store::Load::kWithoutBody : Store::Load::kWithoutDetails,
                      [&](const ItemInfo& item) { search.Look(item); });
  }
  return search.Rows();
}

}  // namespace mailbox
