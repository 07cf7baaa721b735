#include "client/run/EarlierDoubts.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <unordered_set>

#include "client/run/ReducedMail.h"
#include "client/run/UnknownOutcome.h"

namespace client {

void EarlierDoubts::ReadArrived() {
  m_doubts = m_journal.EndedWith(ItemResult::kArrived, kCouldNotAsk);
  std::ranges::move(m_journal.EndedWith(ItemResult::kArrived, kReduced),
                    std::back_inserter(m_doubts));
}

// What is settled under the name that it got elsewhere in the source is known by its key, which is
// not open any more.
void EarlierDoubts::ReadUnknown(const Plan& plan, const std::vector<bool>& noted) {
  std::vector<JournalEntry> unknown = m_journal.EndedWith(ItemResult::kUnknown, "");
  if (unknown.empty()) return;
  std::unordered_set<std::string> left;
  for (const JournalEntry& entry : unknown) left.insert(entry.source);
  for (const Plan::Entry& entry : plan.entries) {
    if (noted[entry.number]) left.erase(entry.item.location);
  }
  std::ranges::copy_if(unknown, std::back_inserter(m_doubts), [&](const JournalEntry& entry) {
    return left.contains(entry.source) && m_journal.OpenFor(entry.folder, entry.key);
  });
}

std::vector<SourceProblem> EarlierDoubts::Named(const Plan& plan) const {
  std::vector<SourceProblem> named;
  if (m_doubts.empty()) return named;
  std::unordered_set<std::string> sources;
  for (const JournalEntry& doubt : m_doubts) sources.insert(doubt.source);
  const auto names = NamesIn(plan, sources);
  for (const JournalEntry& doubt : m_doubts) {
    named.push_back({names.at(doubt.source), doubt.text});
  }
  return named;
}

}  // namespace client
