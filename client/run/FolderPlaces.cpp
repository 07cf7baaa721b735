#include "client/run/FolderPlaces.h"

#include <filesystem>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <fmt/format.h>

#include "client/run/Journal.h"
#include "client/run/Plan.h"
#include "client/run/RunFolder.h"
#include "client/sources/SpecialFolders.h"

namespace client {

namespace {

// A folder that earlier runs put elsewhere, or of which they know nothing.
struct Change {
  FolderOfSource folder;
  std::optional<std::string> had;
};
using ByPlace = std::unordered_multimap<std::string, Change>;  // where it would go

ByPlace ChangesIn(const FolderPlaces& places, Journal& journal) {
  ByPlace changes;
  for (const auto& [folder, place] : places) {
    std::optional<std::string> had = journal.PlaceOf(folder);
    if (had && FoldedName(*had) == FoldedName(place)) continue;
    changes.emplace(place, Change{folder, std::move(had)});
  }
  return changes;
}

// The target's folders where items of the plan go, folded.
std::unordered_set<std::string> TakersIn(const FolderPlaces& places) {
  std::unordered_set<std::string> takers;
  for (const auto& [folder, place] : places) takers.insert(FoldedName(place));
  return takers;
}

[[noreturn]] void Refuse(const FolderOfSource& folder, const std::string& had,
                         const std::string& place) {
  throw RunError(fmt::format(
      "what lies in the folder {} of {} went to {} in earlier runs, and would go to {} by now: "
      "what is in {} already would be sent once more. Give the folder options that they had "
      "(--folder-map, --no-special-folders), or a line of --folder-map that leads there; what is "
      "to lie elsewhere is best moved in the target when it is all there. Nothing was sent",
      folder.path, folder.source, had, place, had));
}

}  // namespace

void RequirePlacesKept(const Plan& plan, Journal& journal) {
  const ByPlace changes = ChangesIn(plan.places, journal);
  if (changes.empty()) return;
  const std::unordered_set<std::string> takers = TakersIn(plan.places);
  for (const Plan::Entry& entry : plan.entries) {
    const auto [first, end] = changes.equal_range(entry.item.folder);
    if (first == end) continue;
    const auto known = journal.EntryAt(entry.item.location);
    if (!known || known->result == ItemResult::kFailed) continue;
    const std::string went = FoldedName(known->folder);
    for (auto each = first; each != end; ++each) {
      const auto& [place, change] = *each;
      // A folder of an unknown path is an old one that is called otherwise (a level was put above
      // it, say) if where its items went is no place of this plan.
      const bool isMoved = change.had ? went == FoldedName(*change.had) : !takers.contains(went);
      if (isMoved) Refuse(change.folder, known->folder, place);
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
