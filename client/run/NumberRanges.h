#pragma once

#include <cstddef>
#include <vector>

namespace client {

// Numbers in ascending order. Those of the items of a folder mostly follow one another: a million
// take no more than a few.
class NumberRanges {
  struct Range {
    std::size_t first;
    std::size_t end;
  };

 public:
  class Iterator {
   public:
    explicit Iterator(const Range* range) : m_range(range) {}

    std::size_t operator*() const { return m_range->first + m_at; }
    Iterator& operator++() {
      if (++m_at == m_range->end - m_range->first) *this = Iterator(m_range + 1);
      return *this;
    }
    bool operator==(const Iterator&) const = default;

   private:
    const Range* m_range;
    std::size_t m_at = 0;
  };

  void Add(std::size_t number) {  // beyond all before
    if (m_ranges.empty() || m_ranges.back().end != number) m_ranges.push_back({number, number});
    ++m_ranges.back().end;
  }
  Iterator begin() const { return Iterator(m_ranges.data()); }
  Iterator end() const { return Iterator(m_ranges.data() + m_ranges.size()); }

 private:
  std::vector<Range> m_ranges;
};

}  // namespace client
