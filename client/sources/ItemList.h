#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "client/sources/SourceItem.h"

namespace client {

// Goes through a list whose members are made when they are asked for.
template <typename List>
class MadeOnTheWay {
 public:
  MadeOnTheWay(const List* list, std::size_t at) : m_list(list), m_at(at) {}
  auto operator*() const { return (*m_list)[m_at]; }
  MadeOnTheWay& operator++() {
    ++m_at;
    return *this;
  }
  bool operator==(const MadeOnTheWay&) const = default;

 private:
  const List* m_list;
  std::size_t m_at;
};

// Items, of which a source may have millions. Each takes some tens of bytes: a record of what is
// its own, mostly the end of its path, beside what it shares with those that lie and go where it
// does. The whole item is made when it is asked for.
class ItemList {
 public:
  // What items share, and what they come to.
  struct Shared {
    std::string folder;  // as SourceItem has it
    std::int32_t type;
    std::string path;  // of the file that they lie in, or of their folder, a slash behind it
    std::uint64_t items = 0;
    std::uint64_t bytes = 0;  // on disk
  };

  void Add(const SourceItem& item);
  // Of one that was added, by its number.
  void SetUnread(std::size_t at);
  // Hands over each in order and forgets it: what is taken elsewhere is not held twice.
  void TakeAll(const std::function<void(SourceItem item)>& take);
  // Other folders for those that share one.
  void Move(const std::function<std::string(const Shared& shared)>& folderOf);

  std::size_t size() const { return m_size; }
  bool empty() const { return m_size == 0; }
  SourceItem operator[](std::size_t at) const;
  auto begin() const { return MadeOnTheWay(this, 0); }
  auto end() const { return MadeOnTheWay(this, m_size); }
  // In the order of the first item of each.
  const std::vector<Shared>& Parts() const { return m_shared; }

 private:
  struct Block {
    std::size_t first = 0;              // number of its first item
    std::string records;                // one behind the other
    std::vector<std::uint16_t> starts;  // of each
  };
  std::uint64_t PartOf(const SourceItem& item, std::string_view path);
  const Block& BlockOf(std::size_t at) const;
  SourceItem Made(const Block& block, std::size_t at) const;

  std::vector<Block> m_blocks;
  std::size_t m_size = 0;
  std::vector<Shared> m_shared;
  std::unordered_map<std::string, std::uint64_t> m_partOf;  // by what is shared
};

}  // namespace client
