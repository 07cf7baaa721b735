#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "client/run/ItemLoader.h"
#include "client/run/Journal.h"
#include "client/run/Plan.h"

namespace client {

// What earlier runs brought of events, tasks, contacts, groups and prepared items. Equal ones are
// all sent, so their content alone does not tell whether one is there already; and the places in
// their files do not, for an event more moves all that stand behind it, and files and folders get
// other names. How many of them have arrived does: each counts once, wherever it lies now.
class ArrivedItems {
 public:
  // Reads the journal where the plan has such items. Both must outlive this.
  ArrivedItems(Journal& journal, const Plan& plan);

  static bool Has(const Plan::Entry& entry);

  // Whether one with this content has arrived in the folder and is not taken yet; the journal knows
  // it by its present place from then on.
  bool Take(const Plan::Entry& entry, const std::string& hash);

  // The keys of what came into the folder under the item's id with other content and is not in the
  // source any more: the item has been changed since. None for an item without an id.
  std::vector<std::string> EarlierVersions(const Plan::Entry& entry, const LoadedItem& item) const;

  // Something that arrived in a run of which nothing is known any more. The journal gets its entry.
  void Add(const JournalEntry& entry);

  // The entry of an item that stands in the journal by the place of this one, and that is to come
  // yet, makes room for this one's.
  void MakeRoom(const Plan::Entry& entry);

  // Whether that hash of content and place (ItemLoader::OwnerOf) is of an item of the plan. Cheap
  // for items that are asked for behind their equals.
  bool IsOfPlan(const std::string& owner, const LoadedItem& item);

 private:
  struct Version {
    std::string key;
    std::string source;
  };
  using Equal = std::map<std::string, JournalEntry>;  // by source

  Journal& m_journal;
  std::unordered_map<std::string, Equal> m_entries;          // by folder and hash
  std::unordered_multimap<std::string, Version> m_versions;  // by folder and id
  std::unordered_map<std::string, std::string> m_places;     // of m_entries, their names by source
  std::unordered_set<std::string> m_locations;               // of the plan's items
  std::unordered_set<std::string> m_owners;  // all that own an item of the content asked for last
  std::string m_hashOfOwners;                // of that content
};

}  // namespace client
