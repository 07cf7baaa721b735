#pragma once

#include <string>

#include "platform/CString.h"
#include "target/RdoProviders.h"

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

}  // namespace localstore
