#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "client/run/Journal.h"
#include "client/run/Plan.h"

namespace client {

// What earlier runs brought of events, tasks, contacts and groups. Equal ones are all sent, so
// their content alone does not tell whether one is there already; and the places in their files do
// not, for an event more moves all that stand behind it, and files get other names. How many of
// them have arrived does: each counts once, wherever it lies now.
class ArrivedItems {
 public:
  // Reads the journal, which must outlive this, where the plan has such items.
  ArrivedItems(Journal& journal, const Plan& plan);

  static bool Has(const Plan::Entry& entry);

  // Whether one with this content has arrived in the folder and is not taken yet; the journal knows
  // it by its present place from then on.
  bool Take(const Plan::Entry& entry, const std::string& hash);

 private:
  Journal& m_journal;
  std::unordered_map<std::string, std::vector<JournalEntry>> m_entries;  // by folder and hash
};

}  // namespace client
