#include "localstore/LocalProvider.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

#include "localstore/LocalFolders.h"
#include "localstore/OpenStore.h"
#include "localstore/ProfileFile.h"
#include "mailboxd/store/StoreSchema.h"
#include "platform/Paths.h"
#include "platform/Sqlite.h"

namespace localstore {
namespace {

constexpr const char* kDefaultProfile = "Default";

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
  void Keep(const StoreEntry& entry, bool isNew) {
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
  std::shared_ptr<rdo::Folder> RootFolder() override {
    if (!m_store) m_store = std::make_shared<OpenStore>(PstPath(), OpenStore::Mode::kExisting);
    m_store->RequireThere();
    return FolderOf(m_store, m_store->Root());
  }
  void Save() override {
    if (m_profile) m_profile->Rename(m_entry);
  }

 private:
  std::shared_ptr<Profile> m_profile;
  StoreEntry m_entry;
  std::shared_ptr<OpenStore> m_store;
};

class LocalStores : public rdo::Stores {
 public:
  explicit LocalStores(std::shared_ptr<Profile> profile) : m_profile(std::move(profile)) {}
  int Count() override { return static_cast<int>(m_profile->Stores().size()); }
  std::shared_ptr<rdo::PstStore> At(int index) override {
    if (index < 1 || index > Count()) return nullptr;
    return std::make_shared<LocalPstStore>(m_profile,
                                           m_profile->Stores()[static_cast<size_t>(index) - 1]);
  }
  std::shared_ptr<rdo::PstStore> AddPSTStore(const CString& path, int format,
                                             const CString& displayName) override {
    if (format != rdo::kPstFormat) throw std::runtime_error("There is no such form of stores.");
    auto store = std::make_shared<OpenStore>(path, OpenStore::Mode::kMayCreate);
    (void)store->Root();  // makes its folders
    StoreEntry entry{displayName.ToUtf8(), path.ToUtf8()};
    m_profile->Add(entry);
    return std::make_shared<LocalPstStore>(m_profile, std::move(entry), std::move(store));
  }

 private:
  std::shared_ptr<Profile> m_profile;
};

class LocalProfiles : public rdo::Profiles {
 public:
  explicit LocalProfiles(std::vector<std::string> names) : m_names(std::move(names)) {}
  int Count() override { return static_cast<int>(m_names.size()); }
  CString At(int index) override {
    if (index < 1 || index > Count()) throw std::runtime_error("There is no such profile.");
    return CString::FromUtf8(m_names[static_cast<size_t>(index) - 1]);
  }

 private:
  std::vector<std::string> m_names;
};

class LocalSession : public rdo::Session {
 public:
  explicit LocalSession(CString folder) : m_folder(std::move(folder)) {}

  bool LoggedOn() override { return m_profile != nullptr; }
  void LogOn(const rdo::Logon& logon) override {
    const std::string folder = platform::ResolvePath(m_folder);
    const std::string name = logon.strProfileName.ToUtf8();
    const auto known = ProfilesIn(folder);
    if (!name.empty() && std::ranges::find(known, name) == known.end()) {
      throw std::runtime_error("there is no profile " + name);
    }
    m_profile = std::make_shared<Profile>(folder + "/" + (name.empty() ? kDefaultProfile : name));
  }
  void LogOff() override { m_profile.reset(); }
  std::shared_ptr<rdo::Profiles> GetProfiles() override {
    return std::make_shared<LocalProfiles>(ProfilesIn(platform::ResolvePath(m_folder)));
  }
  std::shared_ptr<rdo::Stores> GetStores() override {
    if (!m_profile) throw std::runtime_error("The session is not logged on.");
    return std::make_shared<LocalStores>(m_profile);
  }

 private:
  CString m_folder;
  std::shared_ptr<Profile> m_profile;
};

// To be read alone. Throws what opening throws.
platform::SqliteDatabase Unchanged(const std::string& path) {
  platform::SqliteDatabase file(OpenStore::Usable(path, OpenStore::Mode::kExisting),
                                platform::SqliteDatabase::Open::kReadWrite);
  file.Execute("PRAGMA query_only=ON");
  return file;
}

}  // namespace

Provider::Provider(const CString& profilesFolder)
    : rdo::Provider(rdo::kSession,
                    [profilesFolder] { return std::make_shared<LocalSession>(profilesFolder); }) {}

std::string StoreProblem(const std::string& path) try {
  platform::SqliteDatabase file = Unchanged(path);
  mailbox::RequireNotOthers(file, path);
  return {};
} catch (const platform::SqliteError& error) {
  return "the store " + path + " cannot be used: " + error.what();
} catch (const std::exception& error) {
  return error.what();
}

std::optional<std::string> StoreIdentity(const std::string& path) try {
  platform::SqliteDatabase file = Unchanged(path);
  return mailbox::IdentityIn(file);
} catch (const std::exception&) {
  return std::nullopt;
}

std::shared_ptr<rdo::PstStore> StoreAt(const CString& path) {
  return std::make_shared<LocalPstStore>(nullptr, StoreEntry{{}, path.ToUtf8()});
}

}  // namespace localstore
