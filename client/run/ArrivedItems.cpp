#include "client/run/ArrivedItems.h"

#include <algorithm>
#include <utility>

#include "client/run/MailKey.h"

namespace client {
namespace {

std::string NameOf(const std::string& folder, const std::string& hash) { return folder + hash; }

std::string NameOfId(const std::string& folder, std::string_view key) {
  const std::string_view id = IdInKey(key);
  return id.empty() ? std::string() : folder + std::string(id);
}

}  // namespace

ArrivedItems::ArrivedItems(Journal& journal, const Plan& plan) : m_journal(journal) {
  std::unordered_set<std::string> folders;
  for (const Plan::Entry& entry : plan.entries) {
    if (!Has(entry)) continue;
    folders.insert(entry.item.folder);
    m_locations.insert(entry.item.location);
  }
  for (const std::string& folder : folders) {
    for (JournalEntry& entry : m_journal.ArrivedIn(folder)) {
      if (std::string name = NameOfId(folder, entry.key); !name.empty()) {
        m_versions.emplace(std::move(name), Version{entry.key, entry.source});
      }
      const std::string name = NameOf(folder, entry.hash);
      m_places.emplace(entry.source, name);
      m_entries[name].push_back(std::move(entry));
    }
  }
}

bool ArrivedItems::Has(const Plan::Entry& entry) { return !entry.IsMail(); }

bool ArrivedItems::Take(const Plan::Entry& entry, const std::string& hash) {
  const auto found = m_entries.find(NameOf(entry.item.folder, hash));
  if (found == m_entries.end() || found->second.empty()) return false;
  std::vector<JournalEntry>& equal = found->second;
  const auto own = std::ranges::find(equal, entry.item.location, &JournalEntry::source);
  m_places.erase(own == equal.end() ? equal.back().source : own->source);
  if (own == equal.end()) {
    MakeRoom(entry);
    m_journal.Move(equal.back(), entry.item.location);
    equal.pop_back();
  } else {
    equal.erase(own);
  }
  return true;
}

void ArrivedItems::MakeRoom(const Plan::Entry& entry) {
  const auto place = m_places.find(entry.item.location);
  if (place == m_places.end()) return;
  std::vector<JournalEntry>& equal = m_entries[place->second];
  const auto there = std::ranges::find(equal, entry.item.location, &JournalEntry::source);
  m_places.erase(place);
  if (there == equal.end()) return;
  const std::string aside = there->source + "\n" + there->hash;  // no place in any source
  m_journal.Move(*there, aside);
  there->source = aside;
}

void ArrivedItems::Add(const JournalEntry& entry) {
  m_journal.StoreFound(entry);
  m_versions.emplace(NameOfId(entry.folder, entry.key), Version{entry.key, entry.source});
}

bool ArrivedItems::IsOfPlan(const std::string& owner, const LoadedItem& item) const {
  return std::ranges::any_of(m_locations, [&](std::string_view location) {
    return ItemLoader::OwnerOf(item, location) == owner;
  });
}

std::vector<std::string> ArrivedItems::EarlierVersions(const Plan::Entry& entry,
                                                       const LoadedItem& item) const {
  std::vector<std::string> keys;
  if (!entry.item.IsOther()) return keys;
  const std::string name = NameOfId(entry.item.folder, item.key);
  const auto [begin, end] = m_versions.equal_range(name);
  for (auto it = begin; it != end; ++it) {
    const Version& version = it->second;
    // What lies elsewhere in the source under that id is an item by itself.
    const bool isOther =
        version.source != entry.item.location && m_locations.contains(version.source);
    const bool isEqual = version.key.find(item.hash) != std::string::npos;
    if (!isOther && !isEqual) keys.push_back(version.key);
  }
  return keys;
}

}  // namespace client
