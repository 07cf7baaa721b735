#pragma once

#include <string>

#include "platform/UniqueFd.h"

namespace mailbox {

// The lock that lets one server work on a data folder. Behind a holder that is about to end,
// because nobody holds the other end of its standard input any more, a new one waits; behind any
// other it does not, so that a folder that is served is told at once.
//
// The file DIR/lock names the process of a holder that ends with its standard input; for any other
// it is empty.
class DataFolderLock {
 public:
  enum class Lifetime { kUntilStopped, kUntilStdinCloses };
  // Makes the folder, with mode 0700, where it is missing. Throws std::runtime_error, whose message
  // is for the user, when the folder cannot be used or is served.
  DataFolderLock(const std::string& folder, Lifetime lifetime);

 private:
  platform::UniqueFd m_file;
};

}  // namespace mailbox
