#include "client/sources/MovedMail.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "client/sources/SourceFiles.h"

namespace client {
namespace {

bool IsThere(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

// What stays of a name: some programs add a number of their own when they see a mail first.
std::string_view LastingPart(std::string_view name) {
  constexpr std::string_view kOnWindowsDisks = "\xEF\x80\xBA";
  const std::size_t end = std::min(name.find_first_of(",:;!"), name.find(kOnWindowsDisks));
  return name.substr(0, end);
}

}  // namespace

std::string WhereMoved(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string_view folder = std::string_view(path).substr(0, slash);
  const bool isMaildir = folder.ends_with("/cur") || folder.ends_with("/new");
  if (slash == std::string::npos || !isMaildir || IsThere(path)) return {};
  const std::string name = path.substr(slash + 1);
  const std::string_view lasting = LastingPart(name);
  const std::string maildir(folder.substr(0, folder.size() - 3));
  // Programs move whole folders so: these spare the search.
  for (const char* const letters : {":2,", ":2,S"}) {
    const std::string seen = maildir + "cur/" + name + letters;
    if (IsThere(seen)) return seen;
  }
  for (const char* const part : {"cur", "new"}) {
    std::vector<SourceProblem> ignored;
    std::string found;
    EachName(maildir + part, ignored, [&](std::string_view other) {
      if (LastingPart(other) == lasting) found = other;
      return found.empty();
    });
    if (!found.empty()) return maildir + part + "/" + found;
  }
  return {};
}

std::string ReadMailThatMayMove(const std::string& path) {
  const std::string moved = WhereMoved(path);
  return ReadMail(moved.empty() ? path : moved);
}

}  // namespace client
