#pragma once

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "target/RdoProviders.h"
#include "target/StoreFiles.h"

// Profiles, stores and folders that a test lays out, behind objects that write down each call and
// fail where the test says so.
namespace test_support {

struct Script {
  struct Store {
    std::string name;
    std::string path;
  };
  std::map<std::string, std::vector<Store>> profiles;  // "" has what is added

  int failAt = 0;  // the number of the call that fails, from 1; 0 for none
  int alsoFailAt = 0;
  bool failsForGood = false;   // and all behind it
  bool failsAsAWhole = false;  // not the item, but its store
  int stopAt = 0;              // the number of the call during which `stop` is set
  std::int32_t* stop = nullptr;
  bool hasSession = true;
  bool hasOutlook = true;
  bool givesNoStore = false;  // to whoever adds one
  bool givesNoAttachments = false;
  int namespaces = 0;                  // that are held
  std::shared_ptr<rdo::Folder> root;   // of every store
  std::optional<bool> isThere = true;  // what is told of a file
  std::string problem;
  std::optional<std::string> identity;
  Store looked;
  std::vector<std::string> calls;

  void Call(const std::string& what) {
    calls.push_back(what);
    const int number = static_cast<int>(calls.size());
    if (stop && number == stopAt) *std::exchange(stop, nullptr) = 1;
    if (number == failAt || number == alsoFailAt ||
        (failsForGood && failAt > 0 && number > failAt)) {
      if (failsAsAWhole) throw rdo::StoreFailed(what + " fails");
      throw std::runtime_error(what + " fails");
    }
  }
  // The calls since the last time, in one line.
  std::string TakeCalls() {
    std::string line;
    for (const std::string& call : calls) line += (line.empty() ? "" : ", ") + call;
    calls.clear();
    return line;
  }
};

// Keeps with Save what was set till then.
struct ScriptedItem : rdo::Item, std::enable_shared_from_this<ScriptedItem> {
  struct Files : rdo::Attachments {
    explicit Files(std::shared_ptr<ScriptedItem> of) : item(std::move(of)) {}
    int Count() override { return 0; }
    void Add(const rdo::NewAttachment& file) override { item->Set(file.strName.ToUtf8()); }
    std::shared_ptr<ScriptedItem> item;
  };

  ScriptedItem(Script& of, std::vector<std::string>& in, const CString& messageClass)
      : script(of), saved(in), content(messageClass.ToUtf8()) {}
  void Set(const std::string& what) {
    script.Call(what);
    content += ", " + what;
  }
  CString MessageClass() override { return {}; }
  void SetSubject(const CString&) override {}
  void Import(const CString&, std::string_view) override { Set("import"); }
  void SetFields(const std::string&, const std::string&) override { Set("fields"); }
  void SetOccurrence(std::int64_t index, const std::string&) override {
    Set("occurrence " + std::to_string(index));
  }
  std::shared_ptr<rdo::Attachments> GetAttachments() override {
    script.Call("attachments");
    if (script.givesNoAttachments) return nullptr;
    return std::make_shared<Files>(shared_from_this());
  }
  void Save() override {
    script.Call("save");
    saved.push_back(content);
  }

  Script& script;
  std::vector<std::string>& saved;
  std::string content;
};

struct ScriptedItems : rdo::Items {
  ScriptedItems(Script& of, std::vector<std::string>& in) : script(of), saved(in) {}
  int Count() override { return static_cast<int>(saved.size()); }
  std::shared_ptr<rdo::Item> At(int) override { return nullptr; }
  std::shared_ptr<rdo::Item> Add(const CString& messageClass) override {
    script.Call("new " + messageClass.ToUtf8());
    return std::make_shared<ScriptedItem>(script, saved, messageClass);
  }
  void Find(const std::vector<std::string>&, const std::vector<std::string>&,
            const Take&) override {}
  void ForEach(const Take&) override {}

  Script& script;
  std::vector<std::string>& saved;
};

struct ScriptedFolder : rdo::Folder, std::enable_shared_from_this<ScriptedFolder> {
  struct List : rdo::Folders {
    explicit List(std::shared_ptr<ScriptedFolder> of) : folder(std::move(of)) {}
    int Count() override {
      folder->script.Call("count");
      return static_cast<int>(folder->children.size());
    }
    std::shared_ptr<rdo::Folder> GetFirst() override {
      folder->script.Call("first");
      next = 0;
      return Next();
    }
    std::shared_ptr<rdo::Folder> GetNext() override {
      folder->script.Call("next");
      return Next();
    }
    std::shared_ptr<rdo::Folder> Add(const CString& name, const CString& folderClass) override {
      folder->script.Call("make " + name.ToUtf8() + " " + folderClass.ToUtf8());
      return folder->AddChild(name);
    }
    std::shared_ptr<rdo::Folder> Next() {
      return next < folder->children.size() ? folder->children[next++] : nullptr;
    }

    std::shared_ptr<ScriptedFolder> folder;
    std::size_t next = 0;
  };

  ScriptedFolder(Script& of, CString called) : script(of), name(std::move(called)) {}
  std::shared_ptr<ScriptedFolder> AddChild(const CString& called) {
    children.push_back(std::make_shared<ScriptedFolder>(script, called));
    return children.back();
  }
  CString Name() override {
    script.Call("name");
    return name;
  }
  std::shared_ptr<rdo::Folders> GetFolders() override {
    script.Call("folders of " + name.ToUtf8());
    return std::make_shared<List>(shared_from_this());
  }
  std::shared_ptr<rdo::Items> GetItems() override {
    script.Call("items");
    return std::make_shared<ScriptedItems>(script, saved);
  }
  void Save() override {}
  // With a star for each item.
  std::string Tree() const {
    std::string tree = name.ToUtf8() + std::string(saved.size(), '*');
    if (children.empty()) return tree;
    tree += "(";
    for (const auto& child : children) tree += (tree.back() == '(' ? "" : " ") + child->Tree();
    return tree + ")";
  }

  Script& script;
  CString name;
  std::vector<std::shared_ptr<ScriptedFolder>> children;
  std::vector<std::string> saved;
};

struct ScriptedStore : rdo::PstStore {
  ScriptedStore(Script& of, Script::Store& here) : script(of), store(here) {}
  CString Name() override {
    script.Call("store name");
    return CString::FromUtf8(store.name);
  }
  void SetName(const CString& name) override {
    script.Call("call it " + name.ToUtf8());
    store.name = name.ToUtf8();
  }
  CString PstPath() override {
    script.Call("path");
    return CString::FromUtf8(store.path);
  }
  std::shared_ptr<rdo::Folder> RootFolder() override {
    script.Call("root");
    return script.root;
  }
  void Save() override { script.Call("save"); }

  Script& script;
  Script::Store& store;
};

struct ScriptedStores : rdo::Stores {
  ScriptedStores(Script& of, std::vector<Script::Store>& in) : script(of), stores(in) {}
  int Count() override {
    script.Call("count stores");
    return static_cast<int>(stores.size());
  }
  std::shared_ptr<rdo::PstStore> At(int index) override {
    script.Call("store " + std::to_string(index));
    return std::make_shared<ScriptedStore>(script, stores.at(static_cast<std::size_t>(index) - 1));
  }
  std::shared_ptr<rdo::PstStore> AddPSTStore(const CString& path, int format,
                                             const CString& name) override {
    script.Call("add " + path.ToUtf8() + " as " + std::to_string(format));
    if (script.givesNoStore) return nullptr;
    stores.push_back({name.ToUtf8(), path.ToUtf8()});
    return std::make_shared<ScriptedStore>(script, stores.back());
  }

  Script& script;
  std::vector<Script::Store>& stores;
};

struct ScriptedProfiles : rdo::Profiles {
  explicit ScriptedProfiles(Script& of) : script(of) {
    for (const auto& [name, stores] : of.profiles) {
      if (!name.empty()) names.push_back(name);
    }
  }
  int Count() override {
    script.Call("count profiles");
    return static_cast<int>(names.size());
  }
  CString At(int index) override {
    script.Call("profile " + std::to_string(index));
    return CString::FromUtf8(names.at(static_cast<std::size_t>(index) - 1));
  }

  Script& script;
  std::vector<std::string> names;
};

struct ScriptedSession : rdo::Session {
  explicit ScriptedSession(Script& of) : script(of) {}
  bool LoggedOn() override {
    script.Call("on?");
    return isOn;
  }
  void LogOn(const rdo::Logon& logon) override {
    profile = logon.strProfileName.ToUtf8();
    script.Call("logon '" + profile + "' " + std::to_string(logon.nPassword) +
                std::to_string(logon.nShowDialog) + std::to_string(logon.nNewSession) +
                std::to_string(logon.nParentWindowHandle) + std::to_string(logon.nNoMail));
    isOn = true;
  }
  void LogOff() override {
    script.Call("logoff");
    isOn = false;
  }
  std::shared_ptr<rdo::Profiles> GetProfiles() override {
    script.Call("profiles");
    return std::make_shared<ScriptedProfiles>(script);
  }
  std::shared_ptr<rdo::Stores> GetStores() override {
    script.Call("stores");
    return std::make_shared<ScriptedStores>(script, script.profiles[profile]);
  }

  Script& script;
  std::string profile;
  bool isOn = false;
};

struct ScriptedOutlook : rdo::OutlookApplication {
  struct Namespace : rdo::OutlookNamespace {
    explicit Namespace(Script& of) : script(of) { ++script.namespaces; }
    ~Namespace() override { --script.namespaces; }
    void LogOn(const CString& profile, const CString& password) override {
      script.Call("O:logon '" + profile.ToUtf8() + "' '" + password.ToUtf8() + "'");
    }
    void AddStore(const CString& path) override {
      script.Call("O:add");
      script.profiles["Made"].push_back({"unnamed", path.ToUtf8()});
    }
    void LogOff() override { script.Call("O:logoff"); }
    Script& script;
  };

  explicit ScriptedOutlook(Script& of) : script(of) {}
  std::shared_ptr<rdo::OutlookNamespace> GetNamespace(const CString& type) override {
    script.Call("O:" + type.ToUtf8());
    return std::make_shared<Namespace>(script);
  }
  void Quit() override { script.Call(script.namespaces ? "O:quit with a namespace" : "O:quit"); }
  Script& script;
};

// All stores are one.
struct ScriptedFiles : rdo::StoreFiles {
  explicit ScriptedFiles(Script& of) : script(of) {}
  std::optional<bool> IsThere(const CString&) override { return script.isThere; }
  std::string Problem(const CString&) override { return script.problem; }
  std::optional<std::string> Identity(const CString&) override { return script.identity; }
  std::shared_ptr<rdo::PstStore> Look(const CString& path) override {
    script.looked = {"looked into", path.ToUtf8()};
    return std::make_shared<ScriptedStore>(script, script.looked);
  }

  Script& script;
};

// All objects, while it lives.
class ScriptedProvider {
 public:
  explicit ScriptedProvider(Script& script)
      : m_session(rdo::kSession,
                  [&script]() -> std::shared_ptr<rdo::Object> {
                    script.Call("session");
                    if (!script.hasSession) throw std::runtime_error("no such class");
                    return std::make_shared<ScriptedSession>(script);
                  }),
        m_outlook(rdo::kOutlook,
                  [&script]() -> std::shared_ptr<rdo::Object> {
                    script.Call("outlook");
                    if (!script.hasOutlook) throw std::runtime_error("no such class");
                    return std::make_shared<ScriptedOutlook>(script);
                  }),
        m_files(rdo::kStoreFiles, [&script] { return std::make_shared<ScriptedFiles>(script); }) {}

 private:
  rdo::Provider m_session;
  rdo::Provider m_outlook;
  rdo::Provider m_files;
};

}  // namespace test_support
