#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/SpilledBlocks.h"

namespace client {

// Records of bytes by their numbers, in blocks of 64 KiB, most of which are not in memory where
// there are very many. For one thread at a time, as SpilledBlocks, and what it throws.
class RecordList {
 public:
  explicit RecordList(std::size_t inMemory = SpilledBlocks::kInMemory) : m_blocks(inMemory) {}

  void Add(std::string_view record);
  std::size_t size() const { return m_first + m_starts.size(); }
  // It and what stands behind it; good until the next call.
  std::string_view operator[](std::size_t at) const;
  void Change(std::size_t at, std::size_t offset, char byte);
  // Hands over each in order, and forgets them.
  void TakeAll(const std::function<void(std::string_view record)>& take);

 private:
  void EndBlock();
  std::size_t BlockOf(std::size_t at) const;  // of a record that is in a finished one
  std::size_t Records(std::size_t block) const;

  // Each: its records one behind the other, and then where each starts.
  SpilledBlocks m_blocks;
  std::vector<std::size_t> m_firsts;  // the number of the first record of each
  // The block to come.
  std::size_t m_first = 0;
  std::string m_records;
  std::vector<std::uint16_t> m_starts;
};

}  // namespace client
