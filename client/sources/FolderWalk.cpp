#include "client/sources/FolderWalk.h"

#include "base/AsciiText.h"
#include "client/sources/PreparedItem.h"
#include "client/sources/SourceFiles.h"

namespace client {

std::string TargetOf(const std::string& levels) {
  return levels.empty() ? std::string(kInbox) : levels;
}

std::string TargetOfKind(const std::string& own, const std::string& levels) {
  return own + levels.substr(mail::beginsWithNoCase(levels, own) ? own.size() : 0);
}

Listing WalkFolders(const std::string& root, const TakeFolder& take) {
  Listing listing;
  // A stack of our own: the depth of a tree is no limit of ours.
  std::vector<SourceFolder> pending = {{root, "", ""}};
  while (!pending.empty()) {
    const SourceFolder folder = std::move(pending.back());
    pending.pop_back();
    if (HoldsDescriptor(folder.path)) {
      listing.items.Add(PreparedItemAt(folder.path, TargetOf(folder.parent), listing.problems));
      continue;
    }
    std::vector<SourceFolder> below;
    take(folder, listing, below);
    pending.insert(pending.end(), below.rbegin(), below.rend());
  }
  return listing;
}

}  // namespace client
