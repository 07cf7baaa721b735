#include "client/run/FolderPlaces.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "client/run/FolderMap.h"
#include "client/run/Journal.h"
#include "client/run/MovedSources.h"
#include "client/run/Plan.h"
#include "client/run/RunIdentity.h"
#include "client/sources/Maildir.h"
#include "client/sources/SpecialFolders.h"

namespace client {

namespace {

// Earlier versions knew a Maildir whose other part was not there by the part that held its mail.
std::optional<std::string> PlaceBefore(const Holder& holder, Journal& journal) {
  std::optional<std::string> had = journal.PlaceOf(holder);
  if (had || !IsMaildir(holder.path)) return had;
  Holder part = holder;
  part.path = holder.path + "/cur";
  if ((had = journal.PlaceOf(part))) return had;
  part.path = holder.path + "/new";
  return journal.PlaceOf(part);
}

std::vector<MovedPlace> MovedIn(const FolderPlaces& places, Journal& journal) {
  std::vector<MovedPlace> moved;
  for (const auto& [holder, place] : places) {
    const std::optional<std::string> had = PlaceBefore(holder, journal);
    if (!had || FoldedName(*had) == FoldedName(place.target)) continue;
    if (journal.HasPut(holder.path, *had)) moved.push_back({holder, *had, place});
  }
  return moved;
}

}  // namespace

void RequirePlacesKept(const Plan& plan, Journal& journal, const RunIdentity& identity) {
  std::vector<MovedPlace> moved = MovedIn(plan.places, journal);
  if (!GoneSources(journal, identity).empty()) {
    std::ranges::move(MovedWithSources(plan, journal, identity.sources), std::back_inserter(moved));
  }
  if (moved.empty()) return;
  const auto& [holder, had, place] = moved.front();
  const std::string text = fmt::format(
      "what lies in {} went to {} in earlier runs, and would go to {} by now: what is in {} "
      "already would be sent once more. Give the folder options that they had (--folder-map, "
      "--no-special-folders), or a --folder-map with the lines that stand below; what is to lie "
      "elsewhere is best moved in the target when it is all there. Nothing was sent. The lines:",
      holder.path, had, place.target, had);
  std::vector<PlacesMoved::Line> lines;
  std::set<std::string> named;  // by the folder of the source
  for (const MovedPlace& each : moved) {
    if (!named.insert(each.place.source).second) continue;
    lines.push_back({FolderMapPath(each.place.source), FolderMapPath(each.had)});
  }
  throw PlacesMoved(text, std::move(lines));
}

void RequirePlacesKept(const Plan& plan, const std::string& runFolder,
                       const RunIdentity& identity) {
  const std::string path = runFolder + "/journal.db";
  std::error_code error;
  if (runFolder.empty() || !std::filesystem::exists(path, error)) return;
  Journal journal(path);
  RequirePlacesKept(plan, journal, identity);
}

}  // namespace client
