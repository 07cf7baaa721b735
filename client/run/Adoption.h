#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "client/run/ItemLoader.h"
#include "client/run/NumberRanges.h"
#include "client/run/Plan.h"
#include "client/run/SecondPlaces.h"
#include "client/run/TargetIndex.h"
#include "client/run/TargetLook.h"
#include "client/run/VersionsById.h"

namespace client {

// What the target holds in a folder; alsoTo, where given, gets each item in the same order. An item
// with a key of the source's own is the one with that key, and no other with its id. Throws
// std::runtime_error when the folder cannot be read.
TargetIndex ReadTargetFolder(TargetLook& look, const std::string& folder, const OwnKeys& own,
                             const TargetLook::Take& alsoTo = {});

// Finds the items of a run among what the target holds already. Each folder of the target is read
// once, before the first of its items is looked for; the source's items for it are read before
// that, since an item whose content changed may only stand for what is no other's.
class Adoption {
 public:
  // Both must outlive this.
  Adoption(TargetLook& look, const Plan& plan) : m_look(look), m_plan(plan) {}

  // True if the item is there; what stands for it stands for no other. Throws std::runtime_error
  // when the folder cannot be read, RunError on a request to stop.
  bool Take(const std::string& folder, const LoadedItem& item);
  // Of an event, task, contact or group that is not there: the key of what has its id and other
  // content, an earlier version, which stands for no other, too. Throws as Take does.
  std::optional<std::string> TakeVersion(const std::string& folder, const LoadedItem& item);

 private:
  // A folder of the target.
  struct Folder {
    TargetIndex index;
    OwnKeys own;
    VersionsById versions;
  };
  void GroupEntries();
  Folder& FolderOf(const std::string& folder);
  OwnKeys KeysOf(const NumberRanges& entries) const;

  TargetLook& m_look;
  const Plan& m_plan;
  std::map<std::string, std::string> m_identities;  // by folder of the source
  std::map<std::string, NumberRanges> m_entries;    // the next two by identity
  std::map<std::string, Folder> m_folders;
  std::optional<SecondPlaces> m_second;
};

}  // namespace client
