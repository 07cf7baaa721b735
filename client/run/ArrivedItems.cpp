#include "client/run/ArrivedItems.h"

#include <iterator>
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
      m_entries[name].emplace(entry.source, std::move(entry));
    }
  }
}

bool ArrivedItems::Has(const Plan::Entry& entry) { return !entry.IsMail(); }

bool ArrivedItems::Take(const Plan::Entry& entry, const std::string& hash) {
  const auto found = m_entries.find(NameOf(entry.item.folder, hash));
  if (found == m_entries.end() || found->second.empty()) return false;
  Equal& equal = found->second;
  auto taken = equal.find(entry.item.location);
  if (taken == equal.end()) {
    taken = std::prev(equal.end());
    MakeRoom(entry);  // of other content: what lies there by name was not found
    m_journal.Move(taken->second, entry.item.location);
  }
  m_places.erase(taken->first);
  equal.erase(taken);
  return true;
}

void ArrivedItems::MakeRoom(const Plan::Entry& entry) {
  const auto place = m_places.find(entry.item.location);
  if (place == m_places.end()) return;
  Equal& equal = m_entries[place->second];
  auto there = equal.extract(entry.item.location);
  m_places.erase(place);
  if (there.empty()) return;
  JournalEntry& moved = there.mapped();
  const std::string aside = moved.source + "\n" + moved.hash;  // no place in any source
  m_journal.Move(moved, aside);
  moved.source = aside;
  there.key() = aside;
  equal.insert(std::move(there));
}

void ArrivedItems::Add(const JournalEntry& entry) {
  m_journal.StoreFound(entry);
  m_versions.emplace(NameOfId(entry.folder, entry.key), Version{entry.key, entry.source});
}

bool ArrivedItems::IsOfPlan(const std::string& owner, const LoadedItem& item) {
  if (m_hashOfOwners != item.hash) {
    m_owners.clear();
    for (const std::string& location : m_locations) {
      m_owners.insert(ItemLoader::OwnerOf(item, location));
    }
    m_hashOfOwners = item.hash;
  }
  return m_owners.contains(owner);
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
