#include "client/run/Adoption.h"

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

bool Adoption::Take(const std::string& folder, const LoadedItem& item) {
  if (m_identities.empty()) GroupEntries();
  const std::string& identity = m_identities.at(folder);
  auto place = m_indexes.find(identity);
  if (place == m_indexes.end()) {
    TargetIndex index = ReadTargetFolder(m_look, folder, KeysOf(m_entries[identity]));
    place = m_indexes.emplace(identity, std::move(index)).first;
  }
  const std::string key = KeyOnItem(item.key);
  return place->second.Take(key, item.messageId, item.MimeSize()).has_value() ||
         m_second->Take(item.elsewhere, key);
}

void Adoption::GroupEntries() {
  for (const Plan::Entry& entry : m_plan.entries) {
    const auto [place, isNew] = m_identities.try_emplace(entry.item.folder);
    if (isNew) place->second = m_look.Identity(entry.item.folder);
    m_entries[place->second].push_back(entry.number);
  }
  std::set<std::string> identities;
  for (const auto& [folder, identity] : m_identities) identities.insert(identity);
  m_second.emplace(m_look, std::move(identities));
}

OwnKeys Adoption::KeysOf(const Entries& entries) const {
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
