#include "client/run/Plan.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <unordered_map>

#include "client/run/ItemKinds.h"
#include "client/sources/PreparedItem.h"

namespace client {
namespace {

std::string_view LastName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

// How much of an item's location people need not read: what lies above its source. One source alone
// goes unnamed if it is a folder; of several that end alike each is named by its whole path.
std::size_t Unneeded(const std::string& source, const std::vector<std::string>& sources) {
  const auto alike = std::count_if(sources.begin(), sources.end(), [&](const std::string& other) {
    return other != source && LastName(other) == LastName(source);
  });
  if (alike > 0) return 0;
  std::error_code error;
  const bool alone = sources.size() == 1 && std::filesystem::is_directory(source, error);
  return alone ? source.size() + 1 : source.size() - LastName(source).size();
}

// One that cannot be read, or is of no type, fails by itself, and the rest goes on.
std::int32_t TypeOf(const SourceItem& item) {
  if (!item.prepared) return item.type;
  try {
    return ReadPreparedItem(item.location).nItemType;
  } catch (const SourceError&) {
    return TYPE_UNKNOWN;
  }
}

}  // namespace

Plan MakePlan(const std::vector<std::string>& paths) {
  Plan plan;
  for (const std::string& path : paths) {
    try {
      plan.sources.push_back(OpenSource(path));
    } catch (const SourceError& error) {
      throw SourceError(path + ": " + error.what());
    }
    const Source* source = plan.sources.back().get();
    const std::size_t unneeded = Unneeded(path, paths);
    for (SourceItem& item : source->List(plan.problems)) {
      std::string name = item.location.substr(std::min(unneeded, item.location.size()));
      item.type = TypeOf(item);
      plan.entries.push_back({source, std::move(item), std::move(name)});
    }
  }
  PlaceByKind(plan.entries);
  return plan;
}

bool Plan::IsWhole() const {
  return std::none_of(problems.begin(), problems.end(),
                      [](const SourceProblem& problem) { return problem.isUnread; });
}

std::vector<Plan::Folder> Plan::Folders() const {
  std::vector<Folder> folders;
  std::unordered_map<std::string, size_t> places;
  for (const Entry& entry : entries) {
    const auto [place, isNew] = places.try_emplace(entry.item.folder, folders.size());
    if (isNew) folders.push_back({entry.item.folder, 0, 0});
    ++folders[place->second].items;
    folders[place->second].bytes += entry.item.length;
  }
  return folders;
}

}  // namespace client
