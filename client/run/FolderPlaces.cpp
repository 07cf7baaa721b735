#include "client/run/FolderPlaces.h"

#include <filesystem>
#include <optional>

#include <fmt/format.h>

#include "client/run/Journal.h"
#include "client/run/RunFolder.h"
#include "client/sources/SpecialFolders.h"

namespace client {

void RequirePlacesKept(const FolderPlaces& places, Journal& journal) {
  for (const auto& [folder, place] : places) {
    const std::optional<std::string> had = journal.PlaceOf(folder);
    if (!had || FoldedName(*had) == FoldedName(place) || !journal.HasNamedIn(*had)) continue;
    throw RunError(fmt::format(
        "what lies in the folder {} of {} went to {} in earlier runs, and would go to {} by now: "
        "what is in {} already would be sent once more. Give the folder options that they had "
        "(--folder-map, --no-special-folders), or a line of --folder-map that leads there; what is "
        "to lie elsewhere is best moved in the target when it is all there. Nothing was sent",
        folder.path, folder.source, *had, place, *had));
  }
}

void RequirePlacesKept(const FolderPlaces& places, const std::string& runFolder) {
  const std::string path = runFolder + "/journal.db";
  std::error_code error;
  if (runFolder.empty() || !std::filesystem::exists(path, error)) return;
  Journal journal(path);
  RequirePlacesKept(places, journal);
}

}  // namespace client
