#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace mailbox {

// Restrictions of a search, as FindFolder and FindItem have them.

// What a property holds, for comparing.
struct FieldValue {
  enum class Kind { kText, kNumber, kDate };
  Kind kind = Kind::kText;
  std::string text;         // UTF-8; a date in the store's form
  std::int64_t number = 0;  // a boolean is 1 or 0

  static FieldValue Text(std::string text) { return {Kind::kText, std::move(text), 0}; }
  static FieldValue Number(std::int64_t number) { return {Kind::kNumber, "", number}; }
  static FieldValue Date(std::string date) { return {Kind::kDate, std::move(date), 0}; }
};

// Of two values of one kind; texts without regard to case.
std::weak_ordering Compare(const FieldValue& left, const FieldValue& right);

// A value of that kind out of the text of a request; throws OperationError for one that is none.
FieldValue ReadValue(FieldValue::Kind kind, std::string_view text);

// The property that a FieldURI or ExtendedFieldURI element names, of one thing that is looked at;
// nothing where it has none. Throws OperationError for one that cannot be searched for.
using FieldReader = std::function<std::optional<FieldValue>(pugi::xml_node path)>;

// Throws OperationError for a restriction that is too long to be held against many things.
void CheckRestriction(pugi::xml_node restriction);

// Whether a thing fits the expression in a Restriction. A property that it does not have is unequal
// to everything and fits nothing else. How deep an expression nests is bounded by the schema check.
bool Matches(pugi::xml_node expression, const FieldReader& read);

}  // namespace mailbox
