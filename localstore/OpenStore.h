#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "mailboxd/store/Store.h"
#include "platform/CString.h"
#include "platform/Sqlite.h"
#include "target/RdoStore.h"

namespace localstore {

// One store file in use, for all objects that are of it.
class OpenStore {
 public:
  enum class Mode { kExisting, kMayCreate };
  // Throws rdo::StoreFailed for what cannot be used as a store.
  OpenStore(const CString& path, Mode mode);
  // The path of this system, where a store may be there; throws the same else.
  static std::string Usable(const std::string& path, Mode mode);

  // What `step` makes of the store. A failure of its file is thrown as rdo::StoreFailed.
  template <typename Step>
  auto Do(Step step) {
    try {
      return step(m_store);
    } catch (const platform::SqliteError& error) {
      throw rdo::StoreFailed(m_path + " fails: " + error.what());
    }
  }
  mailbox::FolderInfo Root();
  // To be called behind each change: what was written to a file that is gone or another one by now
  // is lost. Throws rdo::StoreGone then.
  void RequireThere() const;

 private:
  struct File {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const File&) const = default;
  };
  // All zero for none; nothing where that cannot be seen, which is no loss of what was written.
  static std::optional<File> Look(const std::string& path);

  std::string m_path;
  mailbox::Store m_store;
  std::optional<File> m_file;
};

}  // namespace localstore
