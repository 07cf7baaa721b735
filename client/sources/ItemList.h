#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "client/sources/MadeOnTheWay.h"
#include "client/sources/RecordList.h"
#include "client/sources/SourceItem.h"

namespace client {

// Items, of which a source may have millions. Each takes some tens of bytes, which are mostly not
// in memory: a record of what is its own, mostly the end of its path, beside what it shares with
// those that lie and go where it does. The whole item is made when it is asked for.
//
// For one thread at a time, as SpilledBlocks; and what makes items throws what that throws.
class ItemList {
 public:
  explicit ItemList(std::size_t inMemory = SpilledBlocks::kInMemory) : m_records(inMemory) {}

  // What items share, and what they come to.
  struct Shared {
    std::string folder;  // as SourceItem has it
    std::int32_t type;
    std::string path;  // of the file that they lie in, or of their folder, a slash behind it
    bool namesItsFolder = false;  // as SourceItem has it
    FileStamp listed = {};        // as SourceItem has it
    std::uint64_t items = 0;
    std::uint64_t bytes = 0;  // on disk
  };

  // Returns which of Parts() it shares.
  std::size_t Add(const SourceItem& item);
  // Of one that was added, by its number.
  void SetUnread(std::size_t at);
  // Hands over each in order and forgets it: what is taken elsewhere is not held twice.
  void TakeAll(const std::function<void(SourceItem item)>& take);
  // Other folders for those that share one.
  void Move(const std::function<std::string(const Shared& shared)>& folderOf);

  std::size_t size() const { return m_records.size(); }
  bool empty() const { return size() == 0; }
  SourceItem operator[](std::size_t at) const;
  auto begin() const { return MadeOnTheWay(this, 0); }
  auto end() const { return MadeOnTheWay(this, size()); }
  // In the order of the first item of each.
  const std::vector<Shared>& Parts() const { return m_shared; }

 private:
  std::uint64_t PartOf(const SourceItem& item, std::string_view path);
  SourceItem Made(std::string_view bytes) const;  // of a record

  RecordList m_records;
  std::vector<Shared> m_shared;
  std::unordered_map<std::string, std::uint64_t> m_partOf;  // by what is shared
};

}  // namespace client
