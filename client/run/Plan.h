#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "client/run/FolderMap.h"
#include "client/run/FolderPlaces.h"
#include "client/sources/ItemList.h"
#include "client/sources/MadeOnTheWay.h"
#include "client/sources/Source.h"

namespace client {

// What a run is to do: the items of all its sources, in order.
struct Plan {
  struct Entry {
    const Source* source = nullptr;
    SourceItem item;
    // For people: the location below its source, behind the source where there are several.
    std::string name;
    std::size_t number = 0;  // in the plan

    bool IsMail() const { return !item.prepared && item.type == TYPE_EMAIL; }
  };
  // Kept small, and each made when it is asked for.
  class Entries {
   public:
    // What is added from now on is of that source; so many bytes of its locations people need not
    // read.
    void Begin(const Source* source, std::size_t unneeded);
    std::size_t Add(const SourceItem& item) { return m_items.Add(item); }

    std::size_t size() const { return m_items.size(); }
    bool empty() const { return m_items.empty(); }
    Entry operator[](std::size_t number) const;
    auto begin() const { return MadeOnTheWay(this, 0); }
    auto end() const { return MadeOnTheWay(this, size()); }
    ItemList& Items() { return m_items; }
    const ItemList& Items() const { return m_items; }

   private:
    struct Part {
      std::size_t first;  // entry
      const Source* source;
      std::size_t unneeded;
    };
    std::vector<Part> m_parts;
    ItemList m_items;
  };
  std::vector<std::unique_ptr<Source>> sources;
  Entries entries;
  std::vector<SourceProblem> problems;  // what was left out
  std::vector<SourceProblem> merged;    // target folders that take up several of a source
  std::vector<SourceProblem> alike;  // those whose accents alone differ, in how they are composed
  std::vector<SourceProblem> unusedLines;   // of the folder map: no folder fits them
  std::vector<std::string> emptyFolders;    // target folders without items, in order
  FolderPlaces places;                      // of the items
  std::vector<SourceProblem> emptySources;  // unread where earlier runs found items
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

// For people, the names of items by their locations: of those that the plan has not, the locations.
std::unordered_map<std::string, std::string> NamesIn(
    const Plan& plan, const std::unordered_set<std::string>& locations);

// Which kind of items a folder takes (ItemKind::folderType), by its folded path.
using FolderKinds = std::map<std::string, std::int32_t>;

// What earlier runs know of the target's folders.
struct EarlierFolders {
  FolderKinds kinds = {};                   // what arrived must not move
  std::vector<std::string> spellings = {};  // their paths
  std::vector<std::string> sources = {};    // that had items
};

struct PlanOptions {
  SourceOptions source = {};
  bool withDeleted = false;
  bool specialFolders = true;  // those of the source go to those of the target
  bool emptyFolders = true;    // are made, too
  FolderMap folders = {};      // comes before all else
  EarlierFolders earlier = {};
};

// Opens and lists sources at absolute paths. Throws SourceError with the path and the reason.
Plan MakePlan(const std::vector<std::string>& paths, const PlanOptions& options = {});

}  // namespace client
