#include "localstore/LocalPstStore.h"

#include <algorithm>

#include "localstore/LocalFolders.h"

namespace localstore {

void Profile::Keep(const StoreEntry& entry, bool isNew) {
  m_stores = ReadProfile(m_folder);
  const auto found = std::ranges::find(m_stores, entry.path, &StoreEntry::path);
  if (found == m_stores.end() ? !isNew : found->name == entry.name) return;
  if (found == m_stores.end()) {
    m_stores.push_back(entry);
  } else {
    found->name = entry.name;
  }
  WriteProfile(m_folder, m_stores);
}

std::shared_ptr<rdo::Folder> LocalPstStore::RootFolder() {
  if (!m_store) m_store = std::make_shared<OpenStore>(PstPath(), OpenStore::Mode::kExisting);
  m_store->RequireThere();
  return FolderOf(m_store, m_store->Root());
}

}  // namespace localstore
