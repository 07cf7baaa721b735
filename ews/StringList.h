#pragma once

#include <vector>

#include "platform/CString.h"

namespace ews {

// Texts in the order in which they were added.
class StringList {
 public:
  StringList() = default;
  StringList(std::vector<CString> arr) : m_arr(std::move(arr)) {}  // NOLINT: implicit by design

  void Add(CString str) { m_arr.push_back(std::move(str)); }
  const std::vector<CString>& Strings() const { return m_arr; }

 private:
  std::vector<CString> m_arr;
};

}  // namespace ews
