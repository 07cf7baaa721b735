#include "client/sources/SortedNames.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace client {
namespace {

// Bytes, of which one is in memory for each run while they are merged.
constexpr std::size_t kBlock = 16 << 10;

}  // namespace

// What was sorted at once, on the way through it.
class SortedNames::Run {
 public:
  Run(SpilledBlocks& blocks, std::size_t first, std::size_t end)
      : m_blocks(&blocks), m_next(first), m_end(end) {}

  const char* Name() const { return m_block.data() + m_at; }
  // False behind the last one.
  bool GoOn() {
    if (!m_block.empty()) m_at += std::strlen(Name()) + 1;
    if (m_at < m_block.size()) return true;
    if (m_next == m_end) return false;
    m_block = m_blocks->Take(m_next++);
    m_at = 0;
    return true;
  }

 private:
  SpilledBlocks* m_blocks;
  std::size_t m_next;
  std::size_t m_end;
  std::string m_block;
  std::size_t m_at = 0;
};

void SortedNames::Add(std::string_view name) {
  if (m_names.size() + name.size() >= m_atOnce) EndRun();
  m_starts.push_back(static_cast<std::uint32_t>(m_names.size()));
  m_names.append(name).append(1, '\0');
}

void SortedNames::EndRun() {
  if (m_starts.empty()) return;
  std::ranges::sort(m_starts, [&](std::size_t a, std::size_t b) {
    return std::strcmp(m_names.c_str() + a, m_names.c_str() + b) < 0;
  });
  std::string block;
  for (const std::size_t start : m_starts) {
    block.append(m_names.c_str() + start).append(1, '\0');
    if (block.size() >= kBlock) m_blocks.Add(std::exchange(block, {}));
  }
  if (!block.empty()) m_blocks.Add(std::move(block));
  m_runs.push_back(m_blocks.size());
  m_names.clear();
  m_starts.clear();
}

void SortedNames::TakeAll(const std::function<void(const char* name)>& take) {
  EndRun();
  m_names = std::string();
  m_starts = {};
  SpilledBlocks blocks = std::exchange(m_blocks, SpilledBlocks(m_atOnce));
  std::vector<Run> runs;
  std::size_t first = 0;
  for (const std::size_t end : std::exchange(m_runs, {})) {
    (void)runs.emplace_back(blocks, std::exchange(first, end), end).GoOn();  // none is empty
  }
  const auto isBehind = [](const Run& a, const Run& b) {
    return std::strcmp(a.Name(), b.Name()) > 0;
  };
  std::ranges::make_heap(runs, isBehind);
  while (!runs.empty()) {
    take(runs.front().Name());
    std::ranges::pop_heap(runs, isBehind);
    if (runs.back().GoOn()) {
      std::ranges::push_heap(runs, isBehind);
    } else {
      runs.pop_back();
    }
  }
}

}  // namespace client
