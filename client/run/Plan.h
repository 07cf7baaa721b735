#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "client/sources/Source.h"

namespace client {

// What a run is to do: the items of all its sources, in order.
struct Plan {
  struct Entry {
    const Source* source = nullptr;
    SourceItem item;
    // For people: the location below its source, behind the source where there are several.
    std::string name;
  };
  std::vector<std::unique_ptr<Source>> sources;
  std::vector<Entry> entries;
  std::vector<SourceProblem> problems;  // what was left out

  bool IsWhole() const;  // nothing of the sources was out of reach

  // Items and bytes of one target folder.
  struct Folder {
    std::string name;
    std::uint64_t items = 0;
    std::uint64_t bytes = 0;
  };
  std::vector<Folder> Folders() const;  // in the order in which the run comes to them
};

// Opens and lists sources at absolute paths. Throws SourceError with the path and the reason.
Plan MakePlan(const std::vector<std::string>& paths);

}  // namespace client
