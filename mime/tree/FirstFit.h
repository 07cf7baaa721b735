#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace mail {

// Finds the first of a row of numbers, from a place on, that is large enough: a tree in which each
// node has the largest number below it.
class FirstFit {
 public:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  explicit FirstFit(std::span<const std::size_t> arrNumbers);

  // The first place at or behind nFrom with nLeast (not 0) or more. nSteps grows by the nodes
  // looked at: the logarithm of the row's length.
  std::size_t find(std::size_t nFrom, std::size_t nLeast, std::uint64_t& nSteps) const;

 private:
  std::size_t m_nLeaves;  // a power of two; leaf n is node m_nLeaves + n, the root node 1
  std::vector<std::size_t> m_arrNodes;
};

}  // namespace mail
