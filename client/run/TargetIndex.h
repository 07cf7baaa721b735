#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "ews/FindItems.h"

namespace client {

// What one folder of the target holds, to be set against the items of the source: each item there
// stands for one item here. Texts are kept as hashes, so that a folder of a million items costs
// some hundred bytes for each, and a look costs the logarithm of what is there, however many share
// an id.
class TargetIndex {
 public:
  using Digest = std::array<std::uint64_t, 2>;  // all zero for an empty text
  // Equal for texts that are the same for a server that cuts long ones, and for the keys of items
  // that are alike and have no id.
  static Digest DigestOf(std::string_view text);

  // Whether an item that carries a key may also be found by its mail's id.
  enum class ById { kYes, kNo };
  void Add(const ews::FoundItem& item, ById byId);

  // Takes the item that has this key, else one that has this id; of several the one whose size is
  // next to the one given. Texts are UTF-8; by an empty id none is found. Returns its number, in
  // the order of the Adds; nothing when there is none that was not taken before.
  std::optional<std::size_t> Take(std::string_view key, std::string_view messageId,
                                  std::int64_t size);

  // What was never taken, in the order of the Adds.
  std::vector<std::size_t> Left() const;
  // The item that was taken and is the same as this one, by key, or, where this one has none, by
  // id; nothing when there is none. An id that came cut is one of several, which a size tells
  // apart.
  std::optional<std::size_t> TwinOf(std::size_t number) const;
  std::optional<std::int64_t> SizeOf(std::size_t number) const;
  // Its key's, else its id's; all zero where it has neither.
  Digest NameOf(std::size_t number) const;

 private:
  // By digest, then size, so that the nearest size is next to where a given one would stand.
  using Order = std::set<std::tuple<Digest, std::int64_t, std::size_t>>;
  struct Entry {
    Digest key{};
    Digest id{};
    std::int64_t size = -1;  // not told
    bool isIdCut = false;
    bool isUnfinished = false;  // a part of what has that key
  };
  static std::optional<std::size_t> Nearest(const Order& order, const Digest& digest,
                                            std::int64_t size);
  void Remove(std::size_t number);

  std::vector<Entry> m_entries;
  std::vector<bool> m_taken;
  Order m_byKey;
  Order m_byId;
  Order m_takenKeys;
  Order m_takenIds;
};

}  // namespace client
