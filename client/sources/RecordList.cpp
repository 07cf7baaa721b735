#include "client/sources/RecordList.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace client {
namespace {

constexpr std::size_t kBlock = 65535;  // bytes: where a record starts fits 16 bits

using Start = std::uint16_t;

std::size_t StartOf(std::string_view block, std::size_t records, std::size_t number) {
  Start start;
  std::memcpy(&start, block.data() + block.size() - (records - number) * sizeof start,
              sizeof start);
  return start;
}

}  // namespace

void RecordList::Add(std::string_view record) {
  if (!m_starts.empty() && m_records.size() + record.size() > kBlock) EndBlock();
  m_starts.push_back(static_cast<Start>(m_records.size()));
  m_records += record;
}

void RecordList::EndBlock() {
  if (m_starts.empty()) return;
  std::string block;
  block.reserve(m_records.size() + m_starts.size() * sizeof(Start));
  block = m_records;
  block.append(reinterpret_cast<const char*>(m_starts.data()), m_starts.size() * sizeof(Start));
  m_blocks.Add(std::move(block));
  m_firsts.push_back(m_first);
  m_first += m_starts.size();
  m_records.clear();
  m_starts.clear();
}

std::size_t RecordList::BlockOf(std::size_t at) const {
  return static_cast<std::size_t>(std::ranges::upper_bound(m_firsts, at) - m_firsts.begin()) - 1;
}

std::size_t RecordList::Records(std::size_t block) const {
  return (block + 1 < m_firsts.size() ? m_firsts[block + 1] : m_first) - m_firsts[block];
}

std::string_view RecordList::operator[](std::size_t at) const {
  if (at >= m_first) return std::string_view(m_records).substr(m_starts[at - m_first]);
  const std::size_t number = BlockOf(at);
  const std::string_view block = m_blocks.Look(number);
  return block.substr(StartOf(block, Records(number), at - m_firsts[number]));
}

void RecordList::Change(std::size_t at, std::size_t offset, char byte) {
  if (at >= m_first) {
    m_records[m_starts[at - m_first] + offset] = byte;
    return;
  }
  const std::size_t number = BlockOf(at);
  const std::size_t start = StartOf(m_blocks.Look(number), Records(number), at - m_firsts[number]);
  m_blocks.Change(number, start + offset, byte);
}

void RecordList::TakeAll(const std::function<void(std::string_view record)>& take) {
  EndBlock();
  for (std::size_t number = 0; number < m_blocks.size(); ++number) {
    const std::string block = m_blocks.Take(number);
    const std::size_t records = Records(number);
    for (std::size_t i = 0; i < records; ++i) {
      take(std::string_view(block).substr(StartOf(block, records, i)));
    }
  }
  m_blocks.Clear();
  m_firsts.clear();
  m_first = 0;
}

}  // namespace client
