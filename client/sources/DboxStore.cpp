#include "client/sources/DboxStore.h"

#include <vector>

#include <fmt/format.h>

namespace client {
namespace {

// "u.12"
bool IsNumbered(std::string_view name, std::string_view beginning) {
  return name.size() > beginning.size() && name.starts_with(beginning) &&
         name.find_first_not_of("0123456789", beginning.size()) == std::string_view::npos;
}

}  // namespace

std::optional<SourceProblem> DboxStoreAt(const std::string& folder) {
  const bool isOfOneEach = folder.ends_with("/dbox-Mails");
  const bool isOfMany = folder.ends_with("/storage") && HasEntry(folder, "dovecot.map.index");
  if (!isOfOneEach && !isOfMany) return std::nullopt;
  std::size_t files = 0;
  std::vector<SourceProblem> ofWalk;  // whoever walks on tells of them
  EachName(folder, ofWalk, [&](std::string_view name) {
    if (IsNumbered(name, isOfOneEach ? "u." : "m.")) ++files;
    return true;
  });
  if (files == 0) return std::nullopt;
  return SourceProblem{folder,
                       fmt::format("mail of a Dovecot in {} of the dbox form, which is not read: "
                                   "have it written as a Maildir",
                                   files == 1 ? "a file" : fmt::format("{} files", files)),
                       /*isUnread=*/true};
}

}  // namespace client
