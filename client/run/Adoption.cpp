#include "client/run/Adoption.h"

#include <algorithm>

#include "client/run/MailKey.h"
#include "client/run/RunFolder.h"
#include "client/run/StopRequest.h"

namespace client {

TargetIndex ReadTargetFolder(TargetLook& look, const std::string& folder, const OwnKeys& own,
                             const TargetLook::Take& alsoTo) {
  TargetIndex index;
  look.List(folder, [&](const ews::FoundItem& found) {
    const bool isOwn = own.contains(TargetIndex::DigestOf(found.strKey.ToUtf8()));
    index.Add(found, isOwn ? TargetIndex::ById::kNo : TargetIndex::ById::kYes);
    if (alsoTo) alsoTo(found);
  });
  return index;
}

Adoption::Folder& Adoption::FolderOf(const std::string& folder) {
  if (m_identities.empty()) GroupEntries();
  const std::string& identity = m_identities.at(folder);
  if (const auto known = m_folders.find(identity); known != m_folders.end()) return known->second;
  const NumberRanges& entries = m_entries[identity];
  bool hasVersions = false;
  for (const std::size_t number : entries) {
    hasVersions = hasVersions || m_plan.entries[number].item.IsOther();
  }
  Folder read;
  read.own = KeysOf(entries);
  read.index = ReadTargetFolder(m_look, folder, read.own, [&](const ews::FoundItem& found) {
    if (hasVersions) read.versions.Add(found.strKey.ToUtf8());
  });
  if (!hasVersions) read.own.clear();
  return m_folders.emplace(identity, std::move(read)).first->second;
}

bool Adoption::Take(const std::string& folder, const LoadedItem& item) {
  Folder& there = FolderOf(folder);
  const std::string key = KeyOnItem(item.key);
  return there.index.Take(key, item.messageId, item.MimeSize()).has_value() ||
         m_second->Take(item.elsewhere, key);
}

std::optional<std::string> Adoption::TakeVersion(const std::string& folder,
                                                 const LoadedItem& item) {
  Folder& there = FolderOf(folder);
  const std::string_view id = IdInKey(item.key);
  std::optional<std::string> key = there.versions.Take(id, there.own);
  return key ? key : m_second->TakeVersion(item.elsewhere, id, there.own);
}

void Adoption::GroupEntries() {
  for (const Plan::Entry& entry : m_plan.entries) {
    const auto [place, isNew] = m_identities.try_emplace(entry.item.folder);
    if (isNew) place->second = m_look.Identity(entry.item.folder);
    m_entries[place->second].Add(entry.number);
  }
  std::set<std::string> identities;
  for (const auto& [folder, identity] : m_identities) identities.insert(identity);
  m_second.emplace(m_look, std::move(identities));
}

OwnKeys Adoption::KeysOf(const NumberRanges& entries) const {
  OwnKeys keys;
  for (const std::size_t number : entries) {
    if (StopRequested()) throw RunError("asked to stop");
    try {
      const Plan::Entry entry = m_plan.entries[number];
      LoadedItem item = ItemLoader::Load(entry);
      ItemLoader::Identify(entry, item);
      keys.insert(TargetIndex::DigestOf(KeyOnItem(item.key)));
    } catch (const SourceError&) {  // told when its turn comes
    }
  }
  return keys;
}

}  // namespace client
