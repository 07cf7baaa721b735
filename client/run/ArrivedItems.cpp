#include "client/run/ArrivedItems.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "pipeline/ST_EML_INFO.h"

namespace client {
namespace {

std::string NameOf(const std::string& folder, const std::string& hash) { return folder + hash; }

}  // namespace

ArrivedItems::ArrivedItems(Journal& journal, const Plan& plan) : m_journal(journal) {
  std::unordered_set<std::string> folders;
  for (const Plan::Entry& entry : plan.entries) {
    if (Has(entry)) folders.insert(entry.item.folder);
  }
  for (const std::string& folder : folders) {
    for (JournalEntry& entry : m_journal.ArrivedIn(folder)) {
      m_entries[NameOf(folder, entry.hash)].push_back(std::move(entry));
    }
  }
}

bool ArrivedItems::Has(const Plan::Entry& entry) { return entry.item.type != TYPE_EMAIL; }

bool ArrivedItems::Take(const Plan::Entry& entry, const std::string& hash) {
  const auto found = m_entries.find(NameOf(entry.item.folder, hash));
  if (found == m_entries.end() || found->second.empty()) return false;
  std::vector<JournalEntry>& equal = found->second;
  const auto own = std::ranges::find(equal, entry.item.location, &JournalEntry::source);
  if (own == equal.end()) {
    m_journal.Move(equal.back(), entry.item.location);
    equal.pop_back();
  } else {
    equal.erase(own);
  }
  return true;
}

}  // namespace client
