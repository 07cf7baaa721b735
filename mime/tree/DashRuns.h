#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace mail {

// Two dashes or more side by side, as many as there are: where they begin and end in the text.
struct DashRun {
  std::size_t nBegin;
  std::size_t nEnd;

  std::size_t size() const { return nEnd - nBegin; }
};

// All runs of a text, from front to back.
std::vector<DashRun> findDashRuns(std::string_view strText);

// A hash of a text that grows at its front: a polynomial modulo a prime, at a place that is drawn
// once for each process. Two texts share it with a chance of their length in 2^61, whatever their
// author wrote.
class FrontHash {
 public:
  static std::uint64_t ofEmpty() { return 0; }
  static std::uint64_t prepend(std::string_view strFront, std::uint64_t nHash);
  static std::uint64_t of(std::string_view strText) { return prepend(strText, ofEmpty()); }
};

}  // namespace mail
