#include "mailboxd/store/Series.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string>
#include <string_view>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/ItemFields.h"

namespace mailbox {
namespace {

namespace chrono = std::chrono;

constexpr size_t kDateSize = 10;  // of "2024-03-11", behind which a zone may stand

constexpr unsigned kEveryDay = 0x7F;
constexpr unsigned kWeekend = 0x41;
struct DayName {
  std::string_view name;
  unsigned bits;
};
constexpr std::array<DayName, 10> kDayNames = {{{"Sunday", 1},
                                                {"Monday", 2},
                                                {"Tuesday", 4},
                                                {"Wednesday", 8},
                                                {"Thursday", 16},
                                                {"Friday", 32},
                                                {"Saturday", 64},
                                                {"Day", kEveryDay},
                                                {"Weekday", kEveryDay & ~kWeekend},
                                                {"WeekendDay", kWeekend}}};
constexpr std::array<std::string_view, 5> kPlaces = {"First", "Second", "Third", "Fourth", "Last"};
static_assert(kPlaces[platform::SeriesDays::kLast] == "Last");
constexpr std::array<std::string_view, 12> kMonths = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};

std::string_view TextOf(pugi::xml_node holder, const char* name) {
  return mail::trimmed(holder.child(name).child_value());
}

// 0 for what is no number above it.
std::int64_t NumberOf(pugi::xml_node holder, const char* name) {
  return std::max<std::int64_t>(mail::wholeNumber<std::int64_t>(TextOf(holder, name)).value_or(0),
                                0);
}

template <size_t kCount>
std::optional<size_t> IndexIn(const std::array<std::string_view, kCount>& names,
                              std::string_view name) {
  const auto found = std::ranges::find(names, name);
  if (found == names.end()) return std::nullopt;
  return static_cast<size_t>(found - names.begin());
}

unsigned WeekdaysIn(std::string_view names) {
  unsigned bits = 0;
  while (!names.empty()) {
    const size_t end = std::min(names.find(' '), names.size());
    const auto row = std::ranges::find(kDayNames, names.substr(0, end), &DayName::name);
    if (row != kDayNames.end()) bits |= row->bits;
    names.remove_prefix(std::min(end + 1, names.size()));
  }
  return bits;
}

std::optional<chrono::sys_days> ReadDay(std::string_view date) {
  const auto seconds = ReadSeconds(std::string(date.substr(0, kDateSize)) + "T00:00:00Z");
  if (!seconds) return std::nullopt;
  return chrono::floor<chrono::days>(chrono::sys_seconds(chrono::seconds(*seconds)));
}

// How far ahead of UTC the zone behind a date says that it is; 0 where there is none.
std::int64_t AheadOf(std::string_view date) {
  const std::string midnight = std::string(date.substr(0, kDateSize)) + "T00:00:00";
  const auto utc = ReadSeconds(midnight + "Z");
  const auto local =
      ReadSeconds(midnight + std::string(date.substr(std::min(kDateSize, date.size()))));
  return utc && local ? *utc - *local : 0;
}

}  // namespace

std::optional<Series> Series::Of(const ItemInfo& item) {
  const FieldTree tree(FindField(item, "Recurrence"));
  const auto start = ReadSeconds(item.starts);
  Series series;
  if (!start || !series.ReadPattern(tree.Root().first_child())) return std::nullopt;
  const pugi::xml_node range = tree.Root().first_child().next_sibling();
  const FieldTree zone(FindField(item, "StartTimeZone"));
  series.m_clock = platform::ZoneClock::OfWindows(zone.Root().attribute("Id").value())
                       .value_or(platform::ZoneClock(AheadOf(TextOf(range, "t:StartDate"))));
  const chrono::sys_seconds wall{chrono::seconds(series.m_clock.ToWall(*start))};
  series.m_days.objFirst = chrono::floor<chrono::days>(wall);
  series.m_hour = wall - series.m_days.objFirst;
  if (!series.ReadRange(range)) return std::nullopt;
  return series;
}

bool Series::ReadPattern(pugi::xml_node pattern) {
  using Unit = platform::SeriesDays::Unit;
  struct Row {
    std::string_view element;
    Unit unit;
    std::int64_t months;  // between occurrences where no interval is given
  };
  static constexpr std::array<Row, 6> kPatterns = {
      {{"t:DailyRecurrence", Unit::kDay, 0},
       {"t:WeeklyRecurrence", Unit::kWeek, 0},
       {"t:AbsoluteMonthlyRecurrence", Unit::kMonth, 0},
       {"t:RelativeMonthlyRecurrence", Unit::kMonth, 0},
       {"t:AbsoluteYearlyRecurrence", Unit::kMonth, 12},
       {"t:RelativeYearlyRecurrence", Unit::kMonth, 12}}};
  const auto row = std::ranges::find(kPatterns, std::string_view(pattern.name()), &Row::element);
  if (row == kPatterns.end()) return false;
  m_days.eUnit = row->unit;
  m_days.nInterval = row->months > 0 ? row->months : NumberOf(pattern, "t:Interval");
  m_days.nWeekdays = WeekdaysIn(TextOf(pattern, "t:DaysOfWeek"));
  m_days.nDayOfMonth =
      static_cast<unsigned>(std::min<std::int64_t>(NumberOf(pattern, "t:DayOfMonth"), 31));
  m_days.nPlace = IndexIn(kPlaces, TextOf(pattern, "t:DayOfWeekIndex")).value_or(0);
  if (const unsigned first = WeekdaysIn(TextOf(pattern, "t:FirstDayOfWeek")); first != 0) {
    m_days.objFirstOfWeek = chrono::weekday(static_cast<unsigned>(std::countr_zero(first)));
  }
  if (const auto month = IndexIn(kMonths, TextOf(pattern, "t:Month"))) {
    m_days.objMonth = chrono::month(static_cast<unsigned>(*month) + 1);
  }
  const bool needsWeekdays =
      m_days.eUnit == Unit::kWeek || (m_days.eUnit == Unit::kMonth && m_days.nDayOfMonth == 0);
  return m_days.nInterval > 0 && (!needsWeekdays || m_days.nWeekdays != 0) &&
         (row->months == 0 || m_days.objMonth);
}

bool Series::ReadRange(pugi::xml_node range) {
  m_days.objFirst = ReadDay(TextOf(range, "t:StartDate")).value_or(m_days.objFirst);
  const std::string_view kind = range.name();
  if (kind == "t:EndDateRecurrence") m_last = ReadDay(TextOf(range, "t:EndDate"));
  if (kind == "t:NumberedRecurrence") m_occurrences = NumberOf(range, "t:NumberOfOccurrences");
  return m_last || m_occurrences || kind == "t:NoEndRecurrence";
}

std::int64_t Series::StartOn(Day day) const {
  return m_clock.ToUtc((day + m_hour).time_since_epoch().count());
}

std::vector<Series::Occurrence> Series::Between(std::int64_t from, std::int64_t to) const {
  const auto dayOf = [&](std::int64_t utc) {
    return chrono::floor<chrono::days>(chrono::sys_seconds(chrono::seconds(m_clock.ToWall(utc))));
  };
  std::vector<Occurrence> found;
  const Day end = std::min(dayOf(to), m_last.value_or(Day::max()));
  for (Day day = std::max(dayOf(from), m_days.objFirst); day <= end; day += chrono::days(1)) {
    const auto number = m_days.NumberOn(day);
    if (!number || *number >= m_occurrences.value_or(*number + 1)) continue;
    const std::int64_t start = StartOn(day);
    if (start >= from && start < to) found.push_back({*number + 1, start});
  }
  return found;
}

std::optional<std::int64_t> Series::StartOf(std::int64_t number) const {
  if (number > m_occurrences.value_or(number)) return std::nullopt;
  const auto day = m_days.DayOf(number - 1);
  if (!day || *day > m_last.value_or(*day)) return std::nullopt;
  return StartOn(*day);
}

}  // namespace mailbox
