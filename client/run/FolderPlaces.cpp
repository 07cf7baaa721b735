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

// Folders that go elsewhere than in earlier runs, or of which these know nothing, one of each kind:
// by where they would go, and by where they went, folded, which is empty for the unknown.
using Changes = std::unordered_map<std::string, std::unordered_map<std::string, FolderOfSource>>;

// The target's folders that took items and take none of this plan, folded.
std::unordered_set<std::string> LeftIn(const FolderPlaces& places, Journal& journal) {
  std::unordered_set<std::string> left;
  for (const std::string& folder : journal.Folders()) left.insert(FoldedName(folder));
  for (const auto& [folder, place] : places) left.erase(FoldedName(place));
  return left;
}

Changes ChangesIn(const FolderPlaces& places, bool areAnyLeft, Journal& journal) {
  Changes changes;
  for (const auto& [folder, place] : places) {
    const std::optional<std::string> had = journal.PlaceOf(folder);
    const std::string went = had ? FoldedName(*had) : "";
    const bool isChange = had ? went != FoldedName(place) : areAnyLeft;
    if (isChange) changes[place].try_emplace(went, folder);
  }
  return changes;
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
  const std::unordered_set<std::string> left = LeftIn(plan.places, journal);
  const Changes changes = ChangesIn(plan.places, !left.empty(), journal);
  if (changes.empty()) return;
  for (const Plan::Entry& entry : plan.entries) {
    const auto change = changes.find(entry.item.folder);
    if (change == changes.end()) continue;
    const auto known = journal.EntryAt(entry.item.location);
    if (!known || known->result == ItemResult::kFailed) continue;
    const std::string went = FoldedName(known->folder);
    const auto& folders = change->second;
    auto folder = folders.find(went);
    // One of an unknown path is an old one that is called otherwise by now (a level was put above
    // it, say) if nothing goes to where its items went any more.
    if (folder == folders.end() && left.contains(went)) folder = folders.find("");
    if (folder != folders.end()) Refuse(folder->second, known->folder, entry.item.folder);
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
