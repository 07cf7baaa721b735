#pragma once

#include "target/RdoProviders.h"

namespace localstore {

// Provides stores of this machine. A store is a file in the form of the local mailbox
// (mailboxd/store) with one mailbox in it. A profile is a folder below `Profiles` in the program
// folder of the moment (platform/Paths.h): its name is the profile's, and profile.json in it says
// which stores it has. Folder and profile come into being when a store is first added; the profile
// that everyone has is "Default".
class Provider {
 public:
  Provider();

 private:
  rdo::Provider m_sessions;
  rdo::Provider m_files;
};

}  // namespace localstore
