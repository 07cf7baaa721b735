#pragma once

#include <list>

// The framework's list; the second parameter is the type that elements are passed as.
template <typename TYPE, typename ARG_TYPE = const TYPE&>
class CList {
 public:
  void AddTail(ARG_TYPE value) { m_list.push_back(value); }
  int GetCount() const { return static_cast<int>(m_list.size()); }
  bool IsEmpty() const { return m_list.empty(); }
  void RemoveAll() { m_list.clear(); }
  auto begin() const { return m_list.begin(); }
  auto end() const { return m_list.end(); }

 private:
  std::list<TYPE> m_list;
};
