#pragma once

#include <string>
#include <vector>

namespace localstore {

// A store as a profile knows it. Texts are UTF-8.
struct StoreEntry {
  std::string name;
  std::string path;  // as it was given
};

// The description of a profile, DIR/profile.json:
//
//   {"stores": [{"name": "Morvane \\home\\u\\out.PST", "path": "\\home\\u\\out.PST"}]}
//
// Both throw std::runtime_error with what is wrong, for people. A file that is not there describes
// a profile without stores. Writing makes the folder; the file is whole at every moment.
std::vector<StoreEntry> ReadProfile(const std::string& folder);
void WriteProfile(const std::string& folder, const std::vector<StoreEntry>& stores);

// The names of the folders that hold a description, in byte order.
std::vector<std::string> ProfilesIn(const std::string& folder);

}  // namespace localstore
