#pragma once

#include <map>
#include <string>

#include "client/run/ItemLoader.h"
#include "client/run/TargetIndex.h"
#include "client/run/TargetLook.h"

namespace client {

// What the target holds in a folder; alsoTo, where given, gets each item in the same order. The
// journal tells which keys there are this run's own. Throws std::runtime_error when the folder
// cannot be read, platform::SqliteError.
TargetIndex ReadTargetFolder(TargetLook& look, Journal& journal, const std::string& folder,
                             const TargetLook::Take& alsoTo = {});

// Finds the items of a run among what the target holds already. Each folder is read once, before
// the first of its items is looked for.
class Adoption {
 public:
  // Both must outlive this.
  Adoption(TargetLook& look, Journal& journal) : m_look(look), m_journal(journal) {}

  // True if the item is there; what stands for it stands for no other. Throws std::runtime_error
  // when the folder cannot be read.
  bool Take(const std::string& folder, const LoadedItem& item);

 private:
  TargetLook& m_look;
  Journal& m_journal;
  std::map<std::string, TargetIndex> m_folders;
};

}  // namespace client
