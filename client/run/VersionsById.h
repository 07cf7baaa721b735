#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

#include "client/run/TargetIndex.h"

namespace client {

using OwnKeys = std::set<TargetIndex::Digest>;  // of items of the source, as they stand on items

// What the target holds of items that have ids, by them: where the source has the id with other
// content, one there is an earlier version of the one here.
class VersionsById {
 public:
  // The key of an item of the target; one that tells no id is passed over.
  void Add(std::string key);

  // Takes a key with that id that is none of the source's own; nothing when there is none that was
  // not taken before.
  std::optional<std::string> Take(std::string_view id, const OwnKeys& own);
  // One with that key is an item of the source itself.
  void Drop(const std::string& key);

 private:
  std::unordered_multimap<std::string, std::string> m_keys;  // by id
};

}  // namespace client
