#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace client {

// Whether a folder has something of that name, or below it by a path; a dead link, too.
inline bool FolderHas(const std::string& folder, std::string_view name) {
  struct stat status;
  return lstat((folder + "/" + std::string(name)).c_str(), &status) == 0;
}

}  // namespace client
