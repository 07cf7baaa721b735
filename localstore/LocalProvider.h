#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/CString.h"
#include "target/RdoProviders.h"
#include "target/RdoStore.h"

namespace localstore {

// Provides sessions over stores of this machine. A store is a file in the form of the local mailbox
// (mailboxd/store) with one mailbox in it. A profile is a folder below the one given, in Windows
// form, with a trailing backslash: its name is the profile's, and profile.json in it says which
// stores it has. Folder and profile come into being when a store is first added; the profile that
// everyone has is "Default".
class Provider : public rdo::Provider {
 public:
  explicit Provider(const CString& profilesFolder);
};

// Why the file of that path of this system cannot be used as a store; empty where it can. It stays
// as it is.
std::string StoreProblem(const std::string& path);

// Which store that is, a copy of it the same; empty for one that was made before stores knew that,
// nothing where it cannot be told. It stays as it is.
std::optional<std::string> StoreIdentity(const std::string& path);

// The store of that path in Windows form, for who only looks: no profile needs to list it, nor gets
// to. It is opened, or that throws, when its root is asked for.
std::shared_ptr<rdo::PstStore> StoreAt(const CString& path);

}  // namespace localstore
