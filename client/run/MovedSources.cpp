#include "client/run/MovedSources.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "client/run/ItemLoader.h"
#include "client/run/LastingPlace.h"
#include "client/sources/PathParts.h"
#include "client/sources/SpecialFolders.h"
#include "platform/CString.h"

namespace client {
namespace {

constexpr std::size_t kSamples = 20;    // items of a holder that are looked at
constexpr std::size_t kMostAlike = 20;  // of all of these that are equal; more tell nothing

// Where its items arrived, by the folder of the target.
struct Arrivals {
  std::size_t items = 0;
  bool hasName = false;  // some of them out of a holder of the same name
};

struct Unknown {
  const Holder* holder;
  const FolderPlace* place;
  std::size_t samples = 0;
  std::size_t own = 0;  // that arrived where they would go
  std::map<std::string, Arrivals> elsewhere = {};
};

// The name of the file or folder that held it, the innermost of those; empty if none did.
std::string HolderName(std::string_view location,
                       const std::set<std::string, std::less<>>& holders) {
  for (std::size_t end = location.find_last_of("/:"); end != std::string_view::npos && end > 0;
       end = location.find_last_of("/:", end - 1)) {
    std::string_view holder = location.substr(0, end);
    if (!holders.contains(holder)) continue;
    // Earlier versions knew a Maildir by the part that held its mail.
    const LastingPlace place{std::string(location)};
    if (!place.path.starts_with(holder)) holder = FolderOf(holder);
    return std::string(LastName(holder));
  }
  return {};
}

bool IsBelow(std::string_view location, std::string_view source) {
  return location.starts_with(source) && location.size() > source.size() &&
         (location[source.size()] == '/' || location[source.size()] == ':');
}

// The holders that the run does not know, each with what its first items are.
class UnknownHolders {
 public:
  UnknownHolders(const Plan& plan, Journal& journal) {
    for (const auto& [holder, place] : plan.places) {
      m_targets.insert(FoldedName(place.target));
      if (!journal.PlaceOf(holder)) m_holders[holder.path].push_back({&holder, &place});
    }
    if (m_holders.empty()) return;
    m_known = journal.HolderPaths();
    for (const Plan::Entry& entry : plan.entries) AddSample(entry);
  }

  void Count(const Journal::ArrivedRow& row, const std::vector<std::string>& sources) {
    const auto [begin, end] = m_samples.equal_range(std::string(row.hash));
    if (begin == end) return;
    // As the sources are kept: bytes that are no UTF-8 are not.
    const std::string location = CString::FromUtf8(row.source).ToUtf8();
    const bool isGone = std::ranges::none_of(
        sources, [&](const std::string& source) { return IsBelow(location, source); });
    const std::string name = isGone ? HolderName(row.source, m_known) : std::string();
    const std::string folder(row.folder);
    for (auto it = begin; it != end; ++it) {
      Unknown& unknown = *it->second;
      if (FoldedName(folder) == FoldedName(unknown.place->target)) {
        ++unknown.own;
      } else if (isGone) {
        Arrivals& arrivals = unknown.elsewhere[folder];
        ++arrivals.items;
        arrivals.hasName = arrivals.hasName || name == LastName(unknown.holder->path);
      }
    }
  }

  std::vector<MovedPlace> Moved() const {
    std::vector<MovedPlace> moved;
    for (const auto& [path, holders] : m_holders) {
      for (const Unknown& unknown : holders) {
        const auto most = std::ranges::max_element(unknown.elsewhere, {}, [](const auto& each) {
          return std::pair(each.second.items, each.second.hasName);
        });
        if (most == unknown.elsewhere.end() || most->second.items <= unknown.own) continue;
        if (!most->second.hasName && m_targets.contains(FoldedName(most->first))) continue;
        moved.push_back({*unknown.holder, most->first, *unknown.place});
      }
    }
    return moved;
  }

 private:
  void AddSample(const Plan::Entry& entry) {
    Unknown* const unknown = Of(entry.item);
    if (!unknown || unknown->samples == kSamples) return;
    ++unknown->samples;
    try {
      const std::string hash = ItemLoader::Load(entry).hash;
      if (m_samples.count(hash) < kMostAlike) m_samples.emplace(hash, unknown);
    } catch (const SourceError&) {     // told when its turn comes
    } catch (const std::bad_alloc&) {  // so is this
    }
  }

  // Parts of a holder may lie between.
  Unknown* Of(const SourceItem& item) {
    for (std::string_view path = item.file.empty() ? FolderOf(item.location) : item.file;
         !path.empty(); path = FolderOf(path)) {
      const auto there = m_holders.find(path);
      if (there == m_holders.end()) continue;
      const auto own = std::ranges::find_if(there->second, [&](const Unknown& each) {
        return each.holder->type == item.type && each.place->target == item.folder;
      });
      if (own != there->second.end()) return &*own;
    }
    return nullptr;
  }

  std::map<std::string, std::vector<Unknown>, std::less<>> m_holders;  // by path
  std::set<std::string> m_targets;                                     // of the plan, folded
  std::set<std::string, std::less<>> m_known;                          // holders of earlier runs
  std::unordered_multimap<std::string, Unknown*> m_samples;            // by hash
};

}  // namespace

std::vector<MovedPlace> MovedWithSources(const Plan& plan, Journal& journal,
                                         const std::vector<std::string>& sources) {
  UnknownHolders unknown(plan, journal);
  journal.EachThere([&](const Journal::ArrivedRow& row) { unknown.Count(row, sources); });
  return unknown.Moved();
}

}  // namespace client
