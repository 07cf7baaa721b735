#pragma once

#include <algorithm>
#include <utility>
#include <vector>

namespace ews {

// A value for each of a few keys, in the order in which the keys were first used; so they go out.
template <typename Key, typename Value>
class EntryDictionary {
 public:
  // The value under the key; an empty one comes into being, and goes out, where there is none.
  Value& operator[](Key eKey) {
    const auto it = Find(eKey);
    return it != m_arr.end() ? it->second : m_arr.emplace_back(eKey, Value()).second;
  }
  int Count() const { return static_cast<int>(m_arr.size()); }
  auto begin() const { return m_arr.begin(); }
  auto end() const { return m_arr.end(); }

 private:
  auto Find(Key eKey) {
    return std::find_if(m_arr.begin(), m_arr.end(),
                        [&](const auto& objEntry) { return objEntry.first == eKey; });
  }

  std::vector<std::pair<Key, Value>> m_arr;
};

}  // namespace ews
