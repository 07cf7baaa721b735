#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "client/run/FolderMap.h"
#include "client/sources/Source.h"

namespace client {

// What a run is to do: the items of all its sources, in order.
struct Plan {
  struct Entry {
    const Source* source = nullptr;
    SourceItem item;
    // For people: the location below its source, behind the source where there are several.
    std::string name;

    bool IsMail() const { return !item.prepared && item.type == TYPE_EMAIL; }
  };
  std::vector<std::unique_ptr<Source>> sources;
  std::vector<Entry> entries;
  std::vector<SourceProblem> problems;     // what was left out
  std::vector<SourceProblem> merged;       // target folders that take up several of a source
  std::vector<SourceProblem> unusedLines;  // of the folder map: no folder fits them
  std::vector<std::string> emptyFolders;   // target folders without items, in order
  std::uint64_t deleted = 0;    // mails that wait in their store to be taken away, left there
  std::uint64_t storeData = 0;  // what programs keep among mails, left there

  bool IsWhole() const;  // nothing of the sources was out of reach

  // Items and bytes of one target folder.
  struct Folder {
    std::string name;
    std::uint64_t items = 0;
    std::uint64_t bytes = 0;
  };
  std::vector<Folder> Folders() const;  // in the order in which the run comes to them
};

// Which kind of items a folder takes (ItemKind::folderType), by its folded path.
using FolderKinds = std::map<std::string, std::int32_t>;

struct PlanOptions {
  SourceOptions source = {};
  bool withDeleted = false;
  bool specialFolders = true;  // those of the source go to those of the target
  bool emptyFolders = true;    // are made, too
  FolderMap folders = {};      // comes before all else
  FolderKinds kinds = {};      // of earlier runs: what arrived must not move
};

// Opens and lists sources at absolute paths. Throws SourceError with the path and the reason.
Plan MakePlan(const std::vector<std::string>& paths, const PlanOptions& options = {});

}  // namespace client
