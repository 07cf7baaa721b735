#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "ews/ExtendedProperty.h"
#include "platform/CString.h"

namespace ews {

// What an item is found again by: the key that its sender wrote on it, and the id that its mail
// carries, with angle brackets.
inline constexpr std::u16string_view kItemKeyName = u"TarnyKey";
ExtendedPropertyDefinition ItemKeyProperty();
ExtendedPropertyDefinition MessageIdProperty();

// The most units of a text property that servers give in a search; what is longer comes cut.
inline constexpr int kLongestFoundText = 255;

// How much of a search's result is wanted: one page, behind the first nOffset.
class ItemView {
 public:
  static constexpr int kMostOnPage = 1000;  // servers give no more

  explicit ItemView(int nPageSize, int nOffset = 0) : m_nPageSize(nPageSize), m_nOffset(nOffset) {}
  int PageSize() const { return m_nPageSize; }
  int Offset() const { return m_nOffset; }

 private:
  int m_nPageSize;
  int m_nOffset;
};

// What a search tells of an item. A text is empty where the item has no such property.
struct FoundItem {
  CString strId;
  CString strClass;    // "IPM.Note", …
  CString strSubject;  // like the next two of at most kLongestFoundText units
  CString strKey;
  CString strMessageId;
  std::optional<std::int64_t> nSize;  // bytes, as the server counts them
};

// The answer of a search, in the server's order.
struct FindItemsResults {
  std::vector<FoundItem> arrItems;
  bool bLastPage = false;
};

}  // namespace ews
