#pragma once

#include <cstddef>

namespace client {

// Goes through a list whose members are made when they are asked for.
template <typename List>
class MadeOnTheWay {
 public:
  MadeOnTheWay(const List* list, std::size_t at) : m_list(list), m_at(at) {}
  auto operator*() const { return (*m_list)[m_at]; }
  MadeOnTheWay& operator++() {
    ++m_at;
    return *this;
  }
  bool operator==(const MadeOnTheWay&) const = default;

 private:
  const List* m_list;
  std::size_t m_at;
};

}  // namespace client
