#pragma once

#include <vector>

#include "platform/CString.h"

// The framework's growing array of strings; indexes count from 0.
class CStringArray {
 public:
  int Add(const CString& str) {
    m_arr.push_back(str);
    return GetSize() - 1;
  }
  int GetSize() const { return static_cast<int>(m_arr.size()); }
  bool IsEmpty() const { return m_arr.empty(); }
  const CString& GetAt(int nIndex) const { return m_arr.at(static_cast<size_t>(nIndex)); }
  const CString& operator[](int nIndex) const { return GetAt(nIndex); }
  void RemoveAll() { m_arr.clear(); }
  auto begin() const { return m_arr.begin(); }
  auto end() const { return m_arr.end(); }

 private:
  std::vector<CString> m_arr;
};
