#include "client/sources/SpilledBlocks.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace client {
namespace {

constexpr std::size_t kMostRead = 16;  // blocks

}  // namespace

void SpilledBlocks::Add(std::string block) {
  if (m_held + block.size() > m_inMemory && !block.empty() && Spill(block)) {
    m_blocks.push_back({.held = {}, .offset = m_fileSize, .size = block.size()});
    m_fileSize += block.size();
    return;
  }
  block.shrink_to_fit();
  m_held += block.size();
  m_blocks.push_back({.held = std::move(block)});
}

// Behind the last one. What failed once is not tried again.
bool SpilledBlocks::Spill(std::string_view block) {
  if (m_isFull) return false;
  if (!m_file) m_file = platform::NamelessFile::Make();
  m_isFull = !m_file || !m_file->WriteAt(m_fileSize, block);
  return !m_isFull;
}

std::string SpilledBlocks::ReadBack(const Block& block) const {
  std::string bytes(block.size, '\0');
  if (!m_file->ReadAt(block.offset, bytes)) {
    throw std::runtime_error(std::string("a temporary file cannot be read back: ") +
                             (errno ? std::strerror(errno) : "it became shorter"));
  }
  return bytes;
}

const std::string& SpilledBlocks::Look(std::size_t number) const {
  const Block& block = m_blocks[number];
  if (block.size == 0) return block.held;
  auto read = std::ranges::find(m_read, number, &Read::number);
  if (read == m_read.end()) {
    std::string bytes = ReadBack(block);
    if (m_read.size() == kMostRead) m_read.pop_back();
    read = m_read.insert(m_read.end(), {number, std::move(bytes)});
  }
  std::rotate(m_read.begin(), read, read + 1);
  return m_read.front().bytes;
}

void SpilledBlocks::Change(std::size_t number, std::size_t offset, char byte) {
  Block& block = m_blocks[number];
  if (block.size > 0) {
    (void)Look(number);
    std::string& bytes = m_read.front().bytes;
    bytes[offset] = byte;
    if (m_file->WriteAt(block.offset + offset, {&byte, 1})) return;
    m_held += block.size;  // the file has the byte of before
    block = {.held = bytes};
    return;
  }
  block.held[offset] = byte;
}

std::string SpilledBlocks::Take(std::size_t number) {
  Block block = std::exchange(m_blocks[number], {});
  m_held -= block.held.size();
  return block.size > 0 ? ReadBack(block) : std::move(block.held);
}

}  // namespace client
