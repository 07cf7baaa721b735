#include "client/Plan.h"

#include <unordered_map>

#include <fmt/format.h>

#include "client/PreparedItem.h"

namespace client {
namespace {

std::string NameBelow(const std::string& root, const std::string& location) {
  if (location.starts_with(root + "/")) return location.substr(root.size() + 1);
  return location.substr(location.rfind('/') + 1);
}

// The type of a prepared item that the engine cannot save; empty for every other item. One that
// cannot be read is none: it fails by itself, and the rest goes on.
std::string UnsupportedType(const SourceItem& item) {
  if (!item.prepared) return {};
  try {
    const std::int32_t type = ReadPreparedItem(item.location).nItemType;
    return type == TYPE_EMAIL || type == TYPE_UNKNOWN ? "" : ItemTypeName(type);
  } catch (const SourceError&) {
    return {};
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
    for (SourceItem& item : source->List(plan.problems)) {
      std::string name = NameBelow(path, item.location);
      if (const std::string type = UnsupportedType(item); !type.empty()) {
        plan.unsupported.push_back({name, fmt::format("{}: not supported yet", type)});
        continue;
      }
      plan.entries.push_back({source, std::move(item), std::move(name)});
    }
  }
  return plan;
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
