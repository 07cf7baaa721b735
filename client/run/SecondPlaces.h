#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "client/run/TargetLook.h"
#include "client/run/VersionsById.h"

namespace client {

// What the folders hold that the engine falls back to, by the keys that it writes. Each folder is
// read once.
class SecondPlaces {
 public:
  // look must outlive this. What lies in one of those folders, by their identities, is theirs.
  SecondPlaces(TargetLook& look, std::set<std::string> folders)
      : m_look(look), m_folders(std::move(folders)) {}

  // Takes one item with that key, as it stands on items; false where there is none that was not
  // taken before. Throws std::runtime_error when the folder cannot be read.
  bool Take(const std::optional<Place>& place, const std::string& key);
  // The same for an item with that id of another content (client/run/VersionsById.h).
  std::optional<std::string> TakeVersion(const std::optional<Place>& place, std::string_view id,
                                         const OwnKeys& own);

 private:
  struct Items {
    std::unordered_map<std::string, std::size_t> counts;  // by key
    VersionsById versions;
  };
  Items& At(const Place& place);
  Items Read(const Place& place);

  TargetLook& m_look;
  std::set<std::string> m_folders;
  std::map<std::string, Items> m_items;  // by path, each below one root alone
};

}  // namespace client
