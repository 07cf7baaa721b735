#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

#include "client/sources/MadeOnTheWay.h"
#include "client/sources/SpilledBlocks.h"

namespace client {

// Small records of one size, most of which are not in memory where there are very many. For one
// thread at a time, as SpilledBlocks, and what it throws.
template <typename Record>
class SpilledVector {
  static_assert(std::is_trivially_copyable_v<Record>);

 public:
  explicit SpilledVector(std::size_t inMemory = SpilledBlocks::kInMemory) : m_blocks(inMemory) {}

  void push_back(const Record& record) {
    m_last.append(reinterpret_cast<const char*>(&record), sizeof record);
    if (m_last.size() == kInBlock * sizeof record) m_blocks.Add(std::exchange(m_last, {}));
  }
  std::size_t size() const { return m_blocks.size() * kInBlock + m_last.size() / sizeof(Record); }
  bool empty() const { return size() == 0; }
  Record operator[](std::size_t at) const {
    const std::size_t number = at / kInBlock;
    const std::string& block = number < m_blocks.size() ? m_blocks.Look(number) : m_last;
    Record record;
    std::memcpy(&record, block.data() + at % kInBlock * sizeof record, sizeof record);
    return record;
  }
  auto begin() const { return MadeOnTheWay(this, 0); }
  auto end() const { return MadeOnTheWay(this, size()); }

 private:
  static constexpr std::size_t kInBlock = 65536 / sizeof(Record);

  SpilledBlocks m_blocks;
  std::string m_last;  // the block to come
};

}  // namespace client
