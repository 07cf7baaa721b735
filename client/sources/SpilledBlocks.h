#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/NamelessFile.h"

namespace client {

// Blocks of bytes, of which there may be more than memory should hold: what goes beyond some MiB
// waits in a file that has no name. Where none can be made or the disk is full, it stays in memory:
// no run fails for that.
//
// One thread may use it at a time, for looking too. What looks throws std::runtime_error when the
// file cannot be read back.
class SpilledBlocks {
 public:
  static constexpr std::size_t kInMemory = 2 << 20;  // bytes
  explicit SpilledBlocks(std::size_t inMemory = kInMemory) : m_inMemory(inMemory) {}

  void Add(std::string block);
  std::size_t size() const { return m_blocks.size(); }
  // Good until the next call.
  const std::string& Look(std::size_t number) const;
  void Change(std::size_t number, std::size_t offset, char byte);
  // Hands a block over; it is empty then.
  std::string Take(std::size_t number);
  // Forgets all blocks and gives memory and disk back.
  void Clear() { *this = SpilledBlocks(m_inMemory); }

 private:
  struct Block {
    std::string held;          // empty for one that waits in the file
    std::uint64_t offset = 0;  // there
    std::size_t size = 0;      // there; 0 for one that is held
  };
  struct Read {
    std::size_t number;
    std::string bytes;
  };
  bool Spill(std::string_view block);
  std::string ReadBack(const Block& block) const;

  std::size_t m_inMemory;
  std::size_t m_held = 0;  // bytes
  std::vector<Block> m_blocks;
  std::optional<platform::NamelessFile> m_file;
  std::uint64_t m_fileSize = 0;
  bool m_isFull = false;  // the file, or it cannot be made
  // Some blocks of the file that were looked at, the last one in front: enough for the first steps
  // of a search among thousands.
  mutable std::vector<Read> m_read;
};

}  // namespace client
