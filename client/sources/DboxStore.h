#pragma once

#include <optional>
#include <string>

#include "client/sources/SourceFiles.h"

namespace client {

// A folder in which a Dovecot keeps mail in a form of its own, with the state of it in an index
// beside: "dbox-Mails" has a file for each mail, "storage" files with many. As one problem, however
// many they are; nothing for any other folder.
std::optional<SourceProblem> DboxStoreAt(const std::string& folder);

}  // namespace client
