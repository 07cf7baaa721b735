#pragma once

#include <memory>
#include <string>
#include <vector>

#include "localstore/OpenStore.h"
#include "localstore/ProfileFile.h"
#include "target/RdoStore.h"

namespace localstore {

// The profile of a session: which stores it has, read anew for each change, for another process may
// have made one.
class Profile {
 public:
  explicit Profile(std::string folder)
      : m_folder(std::move(folder)), m_stores(ReadProfile(m_folder)) {}

  const std::vector<StoreEntry>& Stores() const { return m_stores; }
  void Add(const StoreEntry& entry) { Keep(entry, /*isNew=*/true); }
  // Nothing for a store that is not among them any more.
  void Rename(const StoreEntry& entry) { Keep(entry, /*isNew=*/false); }

 private:
  void Keep(const StoreEntry& entry, bool isNew);

  std::string m_folder;
  std::vector<StoreEntry> m_stores;
};

// Of no profile where it is only looked into. Its file is opened when the first folder of it is
// asked for.
class LocalPstStore : public rdo::PstStore {
 public:
  LocalPstStore(std::shared_ptr<Profile> profile, StoreEntry entry,
                std::shared_ptr<OpenStore> store = nullptr)
      : m_profile(std::move(profile)), m_entry(std::move(entry)), m_store(std::move(store)) {}

  CString Name() override { return CString::FromUtf8(m_entry.name); }
  void SetName(const CString& name) override { m_entry.name = name.ToUtf8(); }
  CString PstPath() override { return CString::FromUtf8(m_entry.path); }
  std::shared_ptr<rdo::Folder> RootFolder() override;
  void Save() override {
    if (m_profile) m_profile->Rename(m_entry);
  }

 private:
  std::shared_ptr<Profile> m_profile;
  StoreEntry m_entry;
  std::shared_ptr<OpenStore> m_store;
};

}  // namespace localstore
