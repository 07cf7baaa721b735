#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "client/run/RunFolder.h"

namespace client {

class Journal;
struct Plan;
struct RunIdentity;

// What lies together in a source: the items of one type in a folder or in a file.
struct Holder {
  std::string path;  // absolute
  // Of an export whose mails say of themselves where they belong, the folder that they name. Else
  // empty.
  std::string part;
  std::int32_t type;  // one of ItemType

  auto operator<=>(const Holder&) const = default;
};

struct FolderPlace {
  std::string target;  // folder of the target
  std::string source;  // as the source has it, each level ended by a backslash, as in the other
};

// Where the items of each go.
using FolderPlaces = std::map<Holder, FolderPlace>;

// A run would send again what it sent already: the folder options lack these lines.
class PlacesMoved : public RunError {
 public:
  struct Line {
    std::string source;  // as a FolderMap has it
    std::string target;
  };
  PlacesMoved(const std::string& text, std::vector<Line> lines)
      : RunError(text), m_lines(std::move(lines)) {}
  const std::vector<Line>& Lines() const { return m_lines; }

 private:
  std::vector<Line> m_lines;
};

// A run knows what it sent by the folder of the target: what went elsewhere with other options, or
// since its source says otherwise by now what a folder is for or has a level more, or moved to
// where it has one more or less, would be sent again. Throws PlacesMoved with the lines of a folder
// map that lead to where it went, and platform::SqliteError. A folder that is spelled otherwise is
// the same one, and one of which nothing is there may go anywhere.
void RequirePlacesKept(const Plan& plan, Journal& journal, const RunIdentity& identity);
// The same of a run folder that no run works in now, and that may be none.
void RequirePlacesKept(const Plan& plan, const std::string& runFolder, const RunIdentity& identity);

}  // namespace client
