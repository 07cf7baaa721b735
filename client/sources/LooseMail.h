#pragma once

#include <set>
#include <string>
#include <vector>

#include "client/sources/SourceFiles.h"

namespace client {

// Tells what may be mail, or appointments or people, of an entry of a folder in which a program
// looks for none: of a file, or once of a folder with the first that is in it. Folders in `known`
// are passed over.
void NameLooseMail(const std::string& folder, const FolderEntry& entry,
                   const std::set<std::string>& known, std::vector<SourceProblem>& problems);

}  // namespace client
