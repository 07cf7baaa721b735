#include "client/sources/IcsFile.h"

#include <cstdlib>
#include <set>
#include <unordered_map>

#include <fmt/format.h>

#include "client/sources/CalendarItem.h"
#include "client/sources/FolderWalk.h"
#include "client/sources/IcsComponents.h"
#include "client/sources/Names.h"
#include "client/sources/PlaceNames.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

// The rules of a zone are read again for each item that needs them.
constexpr std::size_t kLargestRules = 65536;  // bytes

const char* KindOf(const IcsComponent& component) {
  if (component.name == "VJOURNAL") return "a journal entry, which no calendar of Exchange holds";
  return "a table of free and busy times, which is no item";
}

// The lines of a component but those that tell when it was written.
std::string Lasting(const std::string& text) {
  std::string kept;
  ContentLineReader reader(text);
  ContentLine line;
  while (reader.Next(line)) {
    if (line.name == "DTSTAMP") continue;
    kept += text.substr(reader.Begin(), reader.End() - reader.Begin());
  }
  if (!kept.ends_with('\n')) kept += "\r\n";
  return kept;
}

// Walks a file once and sorts its components into items.
class FileLister {
 public:
  FileLister(const std::string& path, const std::string& levels, std::vector<SourceItem>& items,
             std::vector<SourceProblem>& problems)
      : m_path(path), m_levels(levels), m_items(items), m_problems(problems), m_names(path) {}

  void List() {
    m_listed = StampOf(m_path);
    const TextFile file = ReadTextFile(m_path);
    bool any = false;
    ReadIcsComponents(file.text, [&](const IcsComponent& component) {
      any = true;
      Take(component);
    });
    // An empty calendar is one, too.
    if (!any && file.text.find("VCALENDAR") == std::string::npos) {
      throw SourceError("no calendar is in it");
    }
    // An occurrence may stand before its series.
    for (const auto& [key, place] : m_changed) Place(key, place);
    for (auto& [item, zones] : m_zonesOf) AddRules(m_items[item], zones);
    if (!file.isConverted) return;
    for (auto& [item, zones] : m_zonesOf) KeepText(file.text, m_items[item]);
  }

 private:
  struct Change {
    std::string title;
    SourceItem::Extent extent;
    ItemType type = TYPE_CALENDER;
    std::set<std::string> zones;
    long sequence = 0;  // how often it was changed
  };
  struct Main {
    std::size_t item;  // its place in m_items
    long sequence;
  };

  void Take(const IcsComponent& component) {
    const SourceItem::Extent extent{component.offset, component.length};
    if (component.name == "VTIMEZONE") {
      if (component.length <= kLargestRules) m_rules.try_emplace(component.Text("TZID"), extent);
      return;
    }
    const std::string title = TitleOf(component);
    if (component.name != "VEVENT" && component.name != "VTODO") {
      m_problems.push_back({m_path + ": " + title, KindOf(component), /*isUnread=*/false});
      return;
    }
    if (const std::string why = WhyNoCalendarItem(component); !why.empty()) {
      m_problems.push_back({m_names.Next(title), why, /*isUnread=*/true});
      return;
    }
    const ItemType type = component.name == "VTODO" ? TYPE_TASK : TYPE_CALENDER;
    const std::string uid = component.Text("UID");
    const std::string key = component.name + uid;
    const long sequence = std::strtol(component.Text("SEQUENCE").c_str(), nullptr, 10);
    Change place{title, extent, type, ZonesOf(component), sequence};
    if (component.First("RECURRENCE-ID") && !uid.empty()) {
      m_changed.emplace_back(key, std::move(place));
    } else {
      AddMain(uid.empty() ? std::string() : key, place);
    }
  }

  // Of two versions of one event, the later one counts.
  void AddMain(const std::string& key, const Change& place) {
    const auto known = m_series.find(key);
    if (key.empty() || known == m_series.end() || known->second.sequence == place.sequence) {
      if (!key.empty()) m_series.try_emplace(key, Main{m_items.size(), place.sequence});
      return AddItem(place);
    }
    constexpr const char* kEarlier = "an earlier version of what comes with the same UID";
    Main& main = known->second;
    if (place.sequence < main.sequence) {
      m_problems.push_back({m_names.Next(place.title), kEarlier, /*isUnread=*/false});
      return;
    }
    SourceItem& item = m_items[main.item];
    m_problems.push_back({item.location, kEarlier, /*isUnread=*/false});
    main.sequence = place.sequence;
    item.location = m_names.Next(place.title);
    item.length = place.extent.length;
    item.extents = {place.extent};
    m_zonesOf[main.item] = place.zones;
  }

  static void KeepText(const std::string& text, SourceItem& item) {
    for (const SourceItem::Extent& extent : item.extents) {
      item.appendix += Lasting(text.substr(extent.offset, extent.length));
    }
    item.extents.clear();
  }

  static std::string TitleOf(const IcsComponent& component) {
    const ContentLine* start = component.First("DTSTART");
    if (!start) start = component.First("DUE");
    std::string title(CutAtCharacter(component.Text("SUMMARY"), 200));
    if (title.empty()) title = "untitled";
    if (!start || start->value.size() < 8) return title;
    const std::string& date = start->value;
    if (date.find_first_not_of("0123456789") < 8) return title;
    return fmt::format("{} ({}-{}-{})", title, date.substr(0, 4), date.substr(4, 2),
                       date.substr(6, 2));
  }

  static std::set<std::string> ZonesOf(const IcsComponent& component) {
    std::set<std::string> zones;
    for (const ContentLine& line : component.lines) {
      if (const std::string_view zone = line.Value("TZID"); !zone.empty()) zones.emplace(zone);
    }
    return zones;
  }

  void AddItem(const Change& place) {
    SourceItem item;
    item.location = m_names.Next(place.title);
    item.folder = TargetOfKind(place.type == TYPE_TASK ? "Tasks\\" : "Calendar\\", m_levels);
    item.length = place.extent.length;
    item.type = place.type;
    item.extents = {place.extent};
    item.file = m_path;
    item.listed = m_listed;
    m_zonesOf[m_items.size()].insert(place.zones.begin(), place.zones.end());
    m_items.push_back(std::move(item));
  }

  void Place(const std::string& key, const Change& place) {
    const auto series = m_series.find(key);
    if (series == m_series.end()) return AddItem(place);  // one that the owner was invited to alone
    SourceItem& item = m_items[series->second.item];
    item.extents.push_back(place.extent);
    item.length += place.extent.length;
    m_zonesOf[series->second.item].insert(place.zones.begin(), place.zones.end());
  }

  // Rules go with an item only where the zone's name alone says nothing.
  void AddRules(SourceItem& item, const std::set<std::string>& zones) {
    for (const std::string& name : zones) {
      const auto rules = m_rules.find(name);
      if (rules == m_rules.end()) continue;
      const auto [known, isNew] = m_isKnown.try_emplace(name, false);
      if (isNew) known->second = CalendarZone::ByName(name).has_value();
      if (!known->second) item.extents.insert(item.extents.begin(), rules->second);
    }
  }

  const std::string& m_path;
  const std::string& m_levels;
  std::vector<SourceItem>& m_items;
  std::vector<SourceProblem>& m_problems;
  PlaceNames m_names;
  FileStamp m_listed;
  std::unordered_map<std::string, SourceItem::Extent> m_rules;  // by the zone's name
  std::unordered_map<std::string, bool> m_isKnown;              // zones whose name is enough
  std::unordered_map<std::string, Main> m_series;               // by kind and UID
  std::vector<std::pair<std::string, Change>> m_changed;
  std::unordered_map<std::size_t, std::set<std::string>> m_zonesOf;
};

}  // namespace

void ListIcsFile(const std::string& path, const std::string& levels, std::vector<SourceItem>& items,
                 std::vector<SourceProblem>& problems) {
  try {
    FileLister(path, levels, items, problems).List();
  } catch (const SourceError& error) {
    problems.push_back({path, error.what(), /*isUnread=*/true});
  }
}

std::string ReadIcsItem(const SourceItem& item) {
  std::string text = "BEGIN:VCALENDAR\r\n";
  if (!item.extents.empty()) {
    const OpenedFile file = OpenSourceFile(item.file, Links::kFollow);
    for (const SourceItem::Extent& extent : item.extents) {
      text += Lasting(ReadRange(file, extent.offset, extent.length));
    }
    RequireAsListed(file, item);
  }
  return text + item.appendix + "END:VCALENDAR\r\n";
}

}  // namespace client
