#pragma once

#include <cstddef>
#include <ranges>
#include <vector>

namespace client {

// Numbers in ascending order. Those of the items of a folder mostly follow one another: a million
// take no more than a few.
class NumberRanges {
 public:
  void Add(std::size_t number) {  // beyond all before
    if (m_ranges.empty() || m_ranges.back().end != number) m_ranges.push_back({number, number});
    ++m_ranges.back().end;
  }
  // A range of them all, good as long as this is not changed.
  auto All() const {
    return m_ranges | std::views::transform([](const Range& range) {
             return std::views::iota(range.first, range.end);
           }) |
           std::views::join;
  }

 private:
  struct Range {
    std::size_t first;
    std::size_t end;
  };
  std::vector<Range> m_ranges;
};

}  // namespace client
