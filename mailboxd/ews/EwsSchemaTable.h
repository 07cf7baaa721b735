#pragma once

#include <cstddef>
#include <initializer_list>
#include <map>
#include <string_view>
#include <vector>

// What a request may hold, as data: each element has a type, and a type names its children in the
// order in which they must come, its attributes and the kind of its text.
namespace mailbox::schema {

enum class Space { kSoap, kMessages, kTypes };
enum class Value {
  kNone,
  kString,
  kNonEmpty,
  kBoolean,
  kInt,
  kDateTime,
  kBase64,
  kTag,
  kGuid,
  kField,
  kChoices,
  kChoiceList,  // several, divided by blanks
  kBinary,      // base64 that is kept as it came
  kDate,
  kDouble,
  kLong
};
enum class Order { kSequence, kAnyOf, kOneOf, kOpen };  // kOpen: whatever it holds is taken

struct Kind {
  Value value = Value::kNone;
  std::string_view name;  // of the data type, as a violation names it
  std::initializer_list<std::string_view> choices = {};
};
struct AttributeRule {
  std::string_view name;
  bool required;
  const Kind* kind;
};
struct ChildRule {
  std::string_view name;
  std::string_view type;
  bool required = false;
  bool many = false;
};
struct Type {
  Order order = Order::kSequence;
  Space space = Space::kTypes;  // of its children
  std::vector<ChildRule> children;
  std::vector<AttributeRule> attributes;
  const Kind* text = nullptr;  // nullptr: no text
  std::string_view base = {};  // a type whose children come first
  // For kOneOf: where each group of children ends; one of each must come, in this order. Empty for
  // one group of all.
  std::vector<std::size_t> groups = {};
  bool mayBeEmpty = false;  // a list (kAnyOf) of nothing

  std::size_t GroupCount() const { return groups.empty() ? 1 : groups.size(); }
  std::size_t GroupBegin(std::size_t group) const { return group == 0 ? 0 : groups[group - 1]; }
  std::size_t GroupEnd(std::size_t group) const {
    return group < groups.size() ? groups[group] : children.size();
  }
};

using TypeTable = std::map<std::string_view, Type>;

// All types by name, the children of each one's base in front of its own; made at the first call.
const TypeTable& Types();

}  // namespace mailbox::schema
