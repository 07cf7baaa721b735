#include "localstore/LocalProvider.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "localstore/LocalPstStore.h"
#include "localstore/LocalStoreFiles.h"
#include "localstore/OpenStore.h"
#include "localstore/ProfileFile.h"
#include "platform/Paths.h"
#include "target/RdoStore.h"

namespace localstore {
namespace {

constexpr const char* kDefaultProfile = "Default";

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

}  // namespace

Provider::Provider()
    : m_sessions(rdo::kSession,
                 [] { return std::make_shared<LocalSession>(GetCurrLogPath() + u"Profiles\\"); }),
      m_files(rdo::kStoreFiles, [] { return std::make_shared<LocalStoreFiles>(); }) {}

}  // namespace localstore
