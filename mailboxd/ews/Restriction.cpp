#include "mailboxd/ews/Restriction.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "base/WholeNumber.h"
#include "mailboxd/ews/EwsFailure.h"
#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/store/DateTime.h"
#include "platform/Unicode.h"

namespace mailbox {
namespace {

struct Comparison {
  std::string_view element;
  bool fitsLess;
  bool fitsEqual;
  bool fitsGreater;
  bool fitsNothing = false;  // a property that is not there
};
constexpr std::array<Comparison, 6> kComparisons = {{
    {"IsEqualTo", false, true, false},
    {"IsNotEqualTo", true, false, true, true},
    {"IsLessThan", true, false, false},
    {"IsLessThanOrEqualTo", true, true, false},
    {"IsGreaterThan", false, false, true},
    {"IsGreaterThanOrEqualTo", false, true, true},
}};

std::u16string Folded(std::string_view text, bool ignoreCase) {
  std::u16string wide = platform::Utf8ToUtf16(text);
  return ignoreCase ? platform::UpperUnits(wide) : wide;
}

bool Contains(pugi::xml_node expression, std::string_view value) {
  const std::string_view comparison = Attribute(expression, "ContainmentComparison");
  const bool ignoreCase = comparison.find("IgnoreCase") != std::string_view::npos;
  const std::u16string text = Folded(value, ignoreCase);
  const std::u16string wanted =
      Folded(Attribute(Child(expression, "Constant"), "Value"), ignoreCase);
  const std::string_view mode = Attribute(expression, "ContainmentMode");
  if (mode == "Prefixed") return text.starts_with(wanted);
  if (mode == "FullString" || mode.empty()) return text == wanted;
  if (mode == "PrefixOnWords") {
    return text.starts_with(wanted) || text.find(u" " + wanted) != std::u16string::npos;
  }
  return text.find(wanted) != std::u16string::npos;
}

// What the property is compared with: a constant, or another property.
std::optional<FieldValue> OtherSide(pugi::xml_node expression, FieldValue::Kind kind,
                                    const FieldReader& read) {
  const pugi::xml_node other = FirstElement(Child(expression, "FieldURIOrConstant"));
  if (LocalName(other) == "Constant") return ReadValue(kind, Attribute(other, "Value"));
  std::optional<FieldValue> value = read(other);
  if (value && value->kind != kind) throw ErrorOf("ErrorUnsupportedPathForQuery");
  return value;
}

bool Fits(const Comparison& row, pugi::xml_node expression, const FieldReader& read) {
  const std::optional<FieldValue> value = read(FirstElement(expression));
  if (!value) return row.fitsNothing;
  const std::optional<FieldValue> other = OtherSide(expression, value->kind, read);
  if (!other) return row.fitsNothing;
  const std::weak_ordering order = Compare(*value, *other);
  if (order < 0) return row.fitsLess;
  return order > 0 ? row.fitsGreater : row.fitsEqual;
}

// "0x10" or "16".
std::optional<std::int64_t> BitmaskOf(std::string_view text) {
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  if (isHex) text.remove_prefix(2);
  std::int64_t mask = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), mask, isHex ? 16 : 10);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return mask;
}

// None of the bits is set.
bool Excludes(pugi::xml_node expression, const FieldReader& read) {
  const auto mask = BitmaskOf(Attribute(Child(expression, "Bitmask"), "Value"));
  if (!mask) throw ErrorOf("ErrorInvalidExcludesRestriction");
  const std::optional<FieldValue> value = read(FirstElement(expression));
  return value && value->kind == FieldValue::Kind::kNumber && (value->number & *mask) == 0;
}

}  // namespace

std::weak_ordering Compare(const FieldValue& left, const FieldValue& right) {
  if (left.kind == FieldValue::Kind::kNumber) return left.number <=> right.number;
  return Folded(left.text, /*ignoreCase=*/true) <=> Folded(right.text, /*ignoreCase=*/true);
}

FieldValue ReadValue(FieldValue::Kind kind, std::string_view text) {
  if (kind == FieldValue::Kind::kText) return FieldValue::Text(std::string(text));
  if (kind == FieldValue::Kind::kDate) {
    if (auto date = ReadDateTime(text)) return FieldValue::Date(std::move(*date));
  } else if (text == "true" || text == "false") {
    return FieldValue::Number(text == "true" ? 1 : 0);
  } else if (const auto number = mail::wholeNumber<std::int64_t>(text)) {
    return FieldValue::Number(*number);
  }
  throw OperationError("ErrorInvalidValueForProperty",
                       "The specified value is invalid for property.");
}

void CheckRestriction(pugi::xml_node restriction) {
  constexpr size_t kLongest = 64 * 1024;
  struct Measure : pugi::xml_tree_walker {
    bool for_each(pugi::xml_node& node) override {
      length += 1 + Attribute(node, "Value").size();
      return length <= kLongest;
    }
    size_t length = 0;  // elements, and bytes of what they compare with
  } measure;
  restriction.traverse(measure);
  if (measure.length > kLongest) throw ErrorOf("ErrorRestrictionTooLong");
}

bool Matches(pugi::xml_node expression, const FieldReader& read) {
  const std::string_view kind = LocalName(expression);
  if (kind == "And" || kind == "Or") {
    const bool isAnd = kind == "And";
    for (auto part = FirstElement(expression); part; part = NextElement(part)) {
      if (Matches(part, read) != isAnd) return !isAnd;
    }
    return isAnd;
  }
  if (kind == "Not") return !Matches(FirstElement(expression), read);
  if (kind == "Exists") return read(FirstElement(expression)).has_value();
  if (kind == "Contains") {
    const std::optional<FieldValue> value = read(FirstElement(expression));
    return value && value->kind == FieldValue::Kind::kText && Contains(expression, value->text);
  }
  if (kind == "Excludes") return Excludes(expression, read);
  const auto row = std::find_if(kComparisons.begin(), kComparisons.end(),
                                [&](const Comparison& one) { return one.element == kind; });
  if (row == kComparisons.end()) throw ErrorOf("ErrorUnsupportedPathForQuery");
  return Fits(*row, expression, read);
}

}  // namespace mailbox
