#include "client/run/Plan.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <fmt/format.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include "client/run/ItemKinds.h"
#include "client/sources/FolderNames.h"
#include "client/sources/Maildir.h"
#include "client/sources/PathParts.h"
#include "client/sources/PreparedItem.h"
#include "client/sources/SpecialFolders.h"
#include "platform/CString.h"

namespace client {
namespace {

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

// Apple Mail divides a folder of many mails among folders with numbers.
std::string AboveAppleParts(std::string path) {
  if (const std::size_t mailbox = AppleMailboxOf(path).size()) path.resize(mailbox);
  return path;
}

// The folder or file that holds those, whichever part of it they lie in by now.
std::string HolderOf(const ItemList::Shared& items) {
  if (!items.path.ends_with('/')) return items.path;
  const std::string folder = items.path.substr(0, items.path.size() - 1);
  return HoldsMailOfMaildir(folder) ? folder.substr(0, folder.rfind('/')) : AboveAppleParts(folder);
}

// Equal for paths that lead to one folder there. It tells names apart that differ in more than
// case: by how accents are composed, or "ss" from "ß".
std::string AsTheTargetTells(const std::string& path) {
  return CString::FromUtf8(path).MakeUpper().ToUtf8();
}

// The same for people, whatever their accents are composed of.
std::string AsItLooks(const std::string& path) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* const composed = icu::Normalizer2::getNFCInstance(status);
  if (U_FAILURE(status)) return path;
  std::string text;
  composed->normalize(icu::UnicodeString::fromUTF8(path), status).toUTF8String(text);
  return U_FAILURE(status) ? path : text;
}

// What goes into one folder of the target.
struct Takers {
  std::string target;
  std::vector<std::string> paths;  // in the order of the source
};

void AddMerged(const Takers& takers, std::vector<SourceProblem>& merged) {
  if (takers.paths.size() < 2) return;
  merged.push_back({takers.target, fmt::format("{}", fmt::join(takers.paths, ", "))});
}

// Where the folders of the sources go; tells which of them become one, or look as if they did.
class Places {
 public:
  explicit Places(const PlanOptions& options) : m_options(options), m_map(options.folders) {}

  // What is placed from now on is of a source that says so of its folders.
  void Begin(FolderMarks marks) {
    m_marks = m_options.specialFolders ? std::move(marks) : FolderMarks();
  }

  const std::string& Of(const std::string& path) {
    const std::string marked = WithMarkedName(path, m_marks);
    const auto [place, isNew] = m_places.try_emplace({path, marked});
    if (!isNew) return place->second;
    place->second = m_map.PlaceOf(path);
    if (place->second.empty()) place->second = marked;
    if (place->second.empty()) {
      place->second = m_options.specialFolders ? WithExchangeNames(path) : path;
    }
    Takers& takers = m_takers[AsTheTargetTells(place->second)];
    takers.target = takers.paths.empty() ? place->second : takers.target;
    takers.paths.push_back(path);
    return place->second;
  }

  // The same for what goes to a folder of its kind unless the map says more: of the folder that it
  // lies in, or of where it goes.
  std::string OfOther(const SourceItem& item) {
    const std::string_view own = KindOf(item.type).folder;
    if (!m_map.PlaceOf(item.folder).empty()) return Of(item.folder);
    if (item.prepared || !item.folder.starts_with(own)) return item.folder;
    const std::string levels = item.folder.substr(own.size());
    return levels.empty() || m_map.PlaceOf(levels).empty() ? item.folder : Of(levels);
  }

  std::vector<SourceProblem> Merged() const {
    std::vector<SourceProblem> merged;
    for (const auto& [folded, takers] : m_takers) AddMerged(takers, merged);
    return merged;
  }

  std::vector<SourceProblem> Alike() const {
    std::map<std::string, std::vector<const Takers*>> byLooks;
    for (const auto& [folded, takers] : m_takers) byLooks[AsItLooks(folded)].push_back(&takers);
    std::vector<SourceProblem> alike;
    for (const auto& [looks, targets] : byLooks) {
      if (targets.size() < 2) continue;
      std::vector<std::string> paths;
      for (const Takers* each : targets) std::ranges::copy(each->paths, std::back_inserter(paths));
      alike.push_back({targets.front()->target, fmt::format("{}", fmt::join(paths, ", "))});
    }
    return alike;
  }

  std::vector<SourceProblem> UnusedLines() const {
    std::vector<SourceProblem> lines;
    for (std::string& line : m_map.Unused()) lines.push_back({std::move(line), {}});
    return lines;
  }

 private:
  const PlanOptions& m_options;
  FolderMap m_map;
  FolderMarks m_marks;
  std::map<std::pair<std::string, std::string>, std::string> m_places;  // by path and its mark
  std::map<std::string, Takers> m_takers;
};

void AddWithParents(const std::string& folder, std::unordered_set<std::string>& made) {
  const std::string folded = AsTheTargetTells(folder);
  for (std::size_t end = folded.find('\\'); end != std::string::npos;
       end = folded.find('\\', end + 1)) {
    made.insert(folded.substr(0, end + 1));
  }
}

// Those that no item and no folder below brings along.
std::vector<std::string> EmptyOnes(const std::vector<std::string>& folders, const ItemList& items) {
  std::unordered_set<std::string_view> ofItems;
  for (const ItemList::Shared& shared : items.Parts()) ofItems.insert(shared.folder);
  std::unordered_set<std::string> made = {AsTheTargetTells(std::string(kInbox))};
  for (const std::string_view folder : ofItems) AddWithParents(std::string(folder), made);
  std::vector<std::string> empty;
  for (const std::string& folder : folders) {
    if (made.insert(AsTheTargetTells(folder)).second) empty.push_back(folder);
  }
  return empty;
}

// How folders are spelled: what is known of their items goes by their paths. One whose name people
// or another system changed in case or in how its accents are composed alone goes by the path that
// earlier runs knew, unless the source has a folder of that path as well.
class Spelling {
 public:
  Spelling(const std::vector<std::string>& before, const ItemList& items,
           const std::vector<std::string>& folders)
      : m_known(before.begin(), before.end()) {
    std::unordered_set<std::string_view> now(folders.begin(), folders.end());
    for (const ItemList::Shared& shared : items.Parts()) now.insert(shared.folder);
    for (const std::string& folder : before) {
      if (!now.contains(folder)) m_before.try_emplace(FoldedName(folder), folder);
    }
  }
  std::string Of(const std::string& folder) const {
    if (m_known.contains(folder)) return folder;
    const auto before = m_before.find(FoldedName(folder));
    return before == m_before.end() ? folder : before->second;
  }

 private:
  std::unordered_set<std::string> m_known;
  std::unordered_map<std::string, std::string> m_before;
};

SourceProblem EmptySource(const std::string& path, const EarlierFolders& earlier) {
  const bool hadItems = std::ranges::find(earlier.sources, path) != earlier.sources.end();
  return {path,
          hadItems ? "earlier runs found items in it; a disk that is not mounted looks like that"
                   : "a disk that is not mounted looks like that",
          /*isUnread=*/hadItems};
}

// What goes into a part of the plan: a folder of a source, and the path of that.
struct PartSource {
  std::size_t part;
  std::string folder;
  std::string_view source;

  auto operator<=>(const PartSource&) const = default;
};
using PartSources = std::set<PartSource>;

FolderPlaces PlacesIn(const std::vector<ItemList::Shared>& parts,
                      const std::vector<std::string>& holders, const PartSources& sources) {
  FolderPlaces places;
  for (const auto& [number, folder, source] : sources) {
    const ItemList::Shared& part = parts[number];
    if (part.type == TYPE_UNKNOWN) continue;  // it fails
    const std::string& ofHolder = part.namesItsFolder ? folder : std::string();
    places.emplace(Holder{holders[number], ofHolder, part.type}, FolderPlace{part.folder, folder});
  }
  return places;
}

std::string Below(std::string_view source, const std::string& path) {
  return path.size() <= source.size() ? std::string(LastName(source))
                                      : path.substr(source.size() + 1);
}

// What holds mail and has one path with others in its source already.
void AddSharedPaths(const std::vector<ItemList::Shared>& parts,
                    const std::vector<std::string>& holders, const PartSources& sources,
                    std::vector<SourceProblem>& merged) {
  constexpr std::size_t kMost = 50;  // of one folder that are told
  std::map<std::pair<std::string_view, std::string_view>, Takers> byPath;
  for (const auto& [number, folder, source] : sources) {
    if (parts[number].type != TYPE_EMAIL) continue;
    Takers& takers = byPath[{source, folder}];
    takers.target = parts[number].folder;
    std::string holder = Below(source, holders[number]);
    const bool isNew = std::ranges::find(takers.paths, holder) == takers.paths.end();
    if (isNew && takers.paths.size() < kMost) takers.paths.push_back(std::move(holder));
  }
  for (const auto& [path, takers] : byPath) AddMerged(takers, merged);
}

bool StaysBehind(const SourceItem& item, const PlanOptions& options, Plan& plan) {
  if (options.withDeleted) return false;
  if (item.isStoreData) {
    ++plan.storeData;
  } else if (item.state.deleted) {
    ++plan.deleted;
  }
  return item.isStoreData || item.state.deleted;
}

}  // namespace

void Plan::Entries::Begin(const Source* source, std::size_t unneeded) {
  m_parts.push_back({size(), source, unneeded});
}

Plan::Entry Plan::Entries::operator[](std::size_t number) const {
  const Part& part = *std::prev(std::ranges::upper_bound(m_parts, number, {}, &Part::first));
  Entry entry{part.source, m_items[number], {}, number};
  const std::string& location = entry.item.location;
  entry.name = location.substr(std::min(part.unneeded, location.size()));
  return entry;
}

Plan MakePlan(const std::vector<std::string>& paths, const PlanOptions& options) {
  Plan plan;
  Places places(options);
  std::vector<std::string> folders;
  PartSources partSources;
  for (const std::string& path : paths) {
    try {
      plan.sources.push_back(OpenSource(path, options.source));
    } catch (const SourceError& error) {
      throw SourceError(path + ": " + error.what());
    }
    const Source* source = plan.sources.back().get();
    plan.entries.Begin(source, Unneeded(path, paths));
    Listing listing = source->List();
    if (listing.items.empty()) {
      SourceProblem empty = EmptySource(path, options.earlier);
      if (empty.isUnread || listing.problems.empty()) plan.emptySources.push_back(std::move(empty));
    }
    std::ranges::move(listing.problems, std::back_inserter(plan.problems));
    places.Begin(std::move(listing.marks));
    for (const std::string& folder : listing.folders) folders.push_back(places.Of(folder));
    listing.items.TakeAll([&](SourceItem item) {
      if (StaysBehind(item, options, plan)) return;
      item.type = TypeOf(item);
      std::string folder = item.folder;
      item.folder = item.type == TYPE_EMAIL ? places.Of(item.folder) : places.OfOther(item);
      partSources.insert({plan.entries.Add(item), std::move(folder), path});
    });
  }
  PlaceByKind(plan.entries.Items(), options.earlier.kinds);
  const Spelling spelling(options.earlier.spellings, plan.entries.Items(), folders);
  plan.entries.Items().Move(
      [&](const ItemList::Shared& shared) { return spelling.Of(shared.folder); });
  for (std::string& folder : folders) folder = spelling.Of(folder);
  const std::vector<ItemList::Shared>& parts = plan.entries.Items().Parts();
  std::vector<std::string> holders;
  std::ranges::transform(parts, std::back_inserter(holders), &HolderOf);
  plan.places = PlacesIn(parts, holders, partSources);
  plan.merged = places.Merged();
  AddSharedPaths(parts, holders, partSources, plan.merged);
  plan.alike = places.Alike();
  plan.unusedLines = places.UnusedLines();
  if (options.emptyFolders) plan.emptyFolders = EmptyOnes(folders, plan.entries.Items());
  return plan;
}

std::unordered_map<std::string, std::string> NamesIn(
    const Plan& plan, const std::unordered_set<std::string>& locations) {
  std::unordered_map<std::string, std::string> names;
  for (const std::string& location : locations) names.emplace(location, location);
  for (const Plan::Entry& entry : plan.entries) {
    const auto name = names.find(entry.item.location);
    if (name != names.end()) name->second = entry.name;
  }
  return names;
}

bool Plan::IsWhole() const {
  return std::ranges::none_of(problems, &SourceProblem::isUnread) &&
         std::ranges::none_of(emptySources, &SourceProblem::isUnread);
}

std::vector<Plan::Folder> Plan::Folders() const {
  std::vector<Folder> folders;
  std::unordered_map<std::string, size_t> numbers;
  for (const ItemList::Shared& shared : entries.Items().Parts()) {
    const auto [number, isNew] = numbers.try_emplace(shared.folder, folders.size());
    if (isNew) folders.push_back({shared.folder, 0, 0});
    folders[number->second].items += shared.items;
    folders[number->second].bytes += shared.bytes;
  }
  return folders;
}

}  // namespace client
