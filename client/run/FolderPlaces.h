#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>

namespace client {

class Journal;
struct Plan;

// A folder of a source, of the items of one type in it.
struct FolderOfSource {
  std::string source;
  std::string path;   // as the source has it, each level ended by a backslash
  std::int32_t type;  // one of ItemType

  auto operator<=>(const FolderOfSource&) const = default;
};

// Into which folder of the target the items of each go.
using FolderPlaces = std::map<FolderOfSource, std::string>;

// A run knows what it sent by the folder of the target: what went elsewhere with other options, or
// since its source says otherwise by now what a folder is for, would be sent again. Throws RunError
// that names the first such folder, and platform::SqliteError. A folder that is spelled otherwise
// is the same one, one of which nothing arrived yet may go anywhere, and one that is called
// otherwise by now is known by where its items lie.
void RequirePlacesKept(const Plan& plan, Journal& journal);
// The same of a run folder that no run works in now, and that may be none.
void RequirePlacesKept(const Plan& plan, const std::string& runFolder);

}  // namespace client
