#pragma once

#include <cstddef>
#include <string>

namespace client {

// The place of a child in a tree, for one of its parent: "." is the root, "0.1" the second child of
// its first child.
inline std::string ChildPlace(const std::string& parent, std::size_t child) {
  return (parent == "." ? "" : parent + ".") + std::to_string(child);
}

}  // namespace client
