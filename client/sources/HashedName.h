#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace client {

// A name that was cut, and the hash of the whole one.
struct HashedName {
  std::string_view begin;
  std::uint32_t hash = 0;
};

// The names of folders that a Thunderbird keeps in files of those names, or in folders beside them.
// One with characters that a disk may refuse, or too long for one, is cut there and ends in a hash:
// "Süd: A?B" becomes "Süd79ad4768". What it was cut from stands among the texts of its index
// ("Süd79ad4768.msf") and is known by that hash; where there is no index any more, in one of the
// profile's lists of folders, of which each is read once.
class TrueNames {
 public:
  // Any other name is returned as it is.
  std::string Of(const std::string& folder, std::string_view name);

 private:
  using Texts = std::set<std::pair<std::uint32_t, std::string>>;  // with their hashes

  std::optional<std::string> InLists(std::string folder, const HashedName& hashed);
  const Texts& TextsOf(const std::string& profile);
  // Of a list, which may be addresses, each level of them in percents.
  void Take(std::string_view list, Texts& texts);

  std::map<std::string, Texts> m_texts;  // by the profile's path
  std::size_t m_room = 64 << 20;         // bytes, for more of them
};

// The text of an index that a name with a hash was cut from; nothing where it has none.
std::optional<std::string> NameInIndex(std::string_view index, std::string_view name);

}  // namespace client
