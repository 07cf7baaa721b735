#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/SpilledBlocks.h"

namespace client {

// The names of a folder in byte order, however many there are: some ten thousand are sorted at once
// and wait in SpilledBlocks until all have come; then what was sorted is merged. Beside what is
// sorted at once a name takes a fraction of a byte.
class SortedNames {
 public:
  static constexpr std::size_t kAtOnce = 4 << 20;  // bytes
  explicit SortedNames(std::size_t atOnce = kAtOnce) : m_atOnce(atOnce), m_blocks(atOnce) {}

  void Add(std::string_view name);  // holds no NUL
  // Hands over all in order, with a NUL behind each, and forgets them. Throws std::runtime_error
  // when they cannot be read back.
  void TakeAll(const std::function<void(const char* name)>& take);

 private:
  class Run;
  void EndRun();

  std::size_t m_atOnce;
  std::string m_names;  // of the run to come, each ended by a NUL
  std::vector<std::uint32_t> m_starts;
  SpilledBlocks m_blocks;
  std::vector<std::size_t> m_runs;  // the number of the block behind each
};

}  // namespace client
