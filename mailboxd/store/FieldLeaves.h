#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace mailbox {

// One text of a field that is kept as XML, as people are shown it.
struct FieldLeaf {
  std::string_view name;     // of its entry: "HomePhone", "WeeklyRecurrence"; "" where nothing says
  std::string_view text;     // a time zone's is its name
  bool isSameEntry = false;  // as the leaf before
};

// The texts of a field in their order, at most so many. They live as long as its tree.
std::vector<FieldLeaf> LeavesOf(pugi::xml_node root, std::size_t most);

}  // namespace mailbox
