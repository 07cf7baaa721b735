#include "client/run/FolderPlaces.h"

#include <filesystem>
#include <optional>
#include <unordered_map>
#include <utility>

#include <fmt/format.h>

#include "client/run/Journal.h"
#include "client/run/Plan.h"
#include "client/run/RunFolder.h"
#include "client/sources/SpecialFolders.h"

namespace client {

namespace {

// A folder that earlier runs put elsewhere.
struct Moved {
  FolderOfSource folder;
  std::string had;
};
using ByPlace = std::unordered_multimap<std::string, Moved>;  // where it would go

ByPlace MovedIn(const FolderPlaces& places, Journal& journal) {
  ByPlace moved;
  for (const auto& [folder, place] : places) {
    std::optional<std::string> had = journal.PlaceOf(folder);
    if (!had || FoldedName(*had) == FoldedName(place)) continue;
    moved.emplace(place, Moved{folder, std::move(*had)});
  }
  return moved;
}

[[noreturn]] void Refuse(const Moved& moved, const std::string& place) {
  throw RunError(fmt::format(
      "what lies in the folder {} of {} went to {} in earlier runs, and would go to {} by now: "
      "what is in {} already would be sent once more. Give the folder options that they had "
      "(--folder-map, --no-special-folders), or a line of --folder-map that leads there; what is "
      "to lie elsewhere is best moved in the target when it is all there. Nothing was sent",
      moved.folder.path, moved.folder.source, moved.had, place, moved.had));
}

}  // namespace

void RequirePlacesKept(const Plan& plan, Journal& journal) {
  const ByPlace moved = MovedIn(plan.places, journal);
  if (moved.empty()) return;
  for (const Plan::Entry& entry : plan.entries) {
    const auto [first, end] = moved.equal_range(entry.item.folder);
    if (first == end) continue;
    const auto known = journal.EntryAt(entry.item.location);
    if (!known || known->result == ItemResult::kFailed) continue;
    for (auto each = first; each != end; ++each) {
      const auto& [place, folder] = *each;
      if (FoldedName(known->folder) == FoldedName(folder.had)) Refuse(folder, place);
    }
  }
}

void RequirePlacesKept(const Plan& plan, const std::string& runFolder) {
  const std::string path = runFolder + "/journal.db";
  std::error_code error;
  if (runFolder.empty() || !std::filesystem::exists(path, error)) return;
  Journal journal(path);
  RequirePlacesKept(plan, journal);
}

}  // namespace client
