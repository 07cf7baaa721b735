#pragma once

#include <vector>

#include "client/run/Journal.h"
#include "client/run/Plan.h"

namespace client {

// What earlier runs could not tell of their items, and this one neither: it is told once more.
class EarlierDoubts {
 public:
  explicit EarlierDoubts(Journal& journal) : m_journal(journal) {}  // which must outlive this

  // To be called before anything is sent: of what arrived, in part or perhaps more than once.
  void ReadArrived();
  // To be called at the end: of what is not known to have arrived, without the items that this run
  // came to, which `noted` has by their numbers.
  void ReadUnknown(const Plan& plan, const std::vector<bool>& noted);
  // All of them by the names of the items.
  std::vector<SourceProblem> Named(const Plan& plan) const;

 private:
  Journal& m_journal;
  std::vector<JournalEntry> m_doubts;
};

}  // namespace client
