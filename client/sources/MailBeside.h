#pragma once

#include <string>
#include <vector>

#include "client/sources/SourceFiles.h"

namespace client {

// A file beside the folders of a Maildir, where programs keep their lists, becomes a problem if it
// looks like mail: nobody else looks at it.
void NameMailBeside(const std::string& path, const FolderEntry& entry,
                    std::vector<SourceProblem>& problems);

}  // namespace client
