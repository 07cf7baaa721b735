#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CString.h"

// The fields of a contact: items between "<ITEM>" and "</ITEM>" with any text between them, each a
// label, " : " and a value. Tags may be missing or crossed: an item begins at its "<ITEM>" and ends
// at the next "</ITEM>", so that several can share an end and lie within one another; there are as
// many as there are "</ITEM>".
//
//   <ITEM>Namn : Ann</ITEM>         Namn, "Ann"
//   <ITEM>a<ITEM>b : c</ITEM>       one item: "ab", "c"
//   ... </ITEM>                     and one more: "b", "c"
//
// Takes time in proportion to the text, whatever its tags.
class TaggedBody {
 public:
  explicit TaggedBody(std::u16string_view strBody);
  // The items hold views into the object.
  TaggedBody(const TaggedBody&) = delete;
  TaggedBody& operator=(const TaggedBody&) = delete;

  // Both empty for an item without " : ".
  struct Item {
    std::u16string_view strLabel;
    std::u16string_view strValue;
  };
  const std::vector<Item>& Items() const { return m_arrItems; }

 private:
  void AddItems(const std::u16string& strText, const std::vector<size_t>& arrStarts, size_t nMost);

  std::deque<std::u16string> m_arrTexts;  // what lies before each end, without its tags
  std::vector<Item> m_arrItems;
};

inline constexpr std::u16string_view kItemBegin = u"<ITEM>";
inline constexpr std::u16string_view kItemEnd = u"</ITEM>";
