#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace client {

// Where folders of the sources go, as a person wrote it into a file: a line for each,
//
//   Projects/Old<TAB>Archive/Projects
//   Customers/*<TAB>Archive/Customers     that folder and all below it
//   *<TAB>Archive                         all
//
// Levels are divided by "/", one in a name is written "\/"; the first line that fits counts; what
// begins with "#" is none, and a name that does is written "\#", one that is a star "\*"; a blank
// at either end of a path, which does not count, "\ " where it is the name's.
class FolderMap {
 public:
  FolderMap() = default;
  // Throws std::runtime_error with the number of a line that is none of these.
  explicit FolderMap(std::string_view text);

  // The path in the target, each level ended by a backslash as those of the source are; empty where
  // no line fits.
  const std::string& PlaceOf(const std::string& path);
  // The lines that fitted no path so far, as they stand.
  std::vector<std::string> Unused() const;

 private:
  std::string Find(const std::string& path);

  struct Row {
    std::string folded;  // of the path in the source
    std::string target;
    bool below = false;
    std::string line;
    bool isUsed = false;
  };
  std::vector<Row> m_rows;
  std::unordered_map<std::string, std::string> m_places;  // by paths that were asked for
};

// A path, each level ended by a backslash, as it stands in such a line.
std::string FolderMapPath(std::string_view levels);

}  // namespace client
