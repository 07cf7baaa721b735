#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/CString.h"
#include "target/RdoStore.h"

namespace rdo {

// What is asked of a store by who drives an engine, and does not have the store open as its target.
// It takes no session, no profile gets to list the store, and its file stays as it is. Paths are in
// Windows form, texts are UTF-8, and what is for people names the file as this system does.
class StoreFiles : public Object {
 public:
  // Whether a store is there; nothing where that cannot be told. An empty file is none.
  virtual std::optional<bool> IsThere(const CString& strPath) = 0;
  // Why there can be no store of that path, neither one that is there nor a new one; empty where
  // there can.
  virtual std::string Problem(const CString& strPath) = 0;
  // Which store that is, a copy of it the same; empty for one that does not know, nothing where it
  // cannot be told.
  virtual std::optional<std::string> Identity(const CString& strPath) = 0;
  // The store, which is opened, or throws, when its root is asked for.
  virtual std::shared_ptr<PstStore> Look(const CString& strPath) = 0;
};
inline constexpr std::u16string_view kStoreFiles = u"Tarny.StoreFiles";

}  // namespace rdo
