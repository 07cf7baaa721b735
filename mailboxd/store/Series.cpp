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

chrono::year_month MonthOf(chrono::sys_days day) {
  const chrono::year_month_day date(day);
  return date.year() / date.month();
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
  series.m_first = chrono::floor<chrono::days>(wall);
  series.m_hour = wall - series.m_first;
  if (!series.ReadRange(range)) return std::nullopt;
  return series;
}

bool Series::ReadPattern(pugi::xml_node pattern) {
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
  m_unit = row->unit;
  m_interval = row->months > 0 ? row->months : NumberOf(pattern, "t:Interval");
  m_weekdays = WeekdaysIn(TextOf(pattern, "t:DaysOfWeek"));
  m_dayOfMonth =
      static_cast<unsigned>(std::min<std::int64_t>(NumberOf(pattern, "t:DayOfMonth"), 31));
  m_place = IndexIn(kPlaces, TextOf(pattern, "t:DayOfWeekIndex")).value_or(0);
  if (const unsigned first = WeekdaysIn(TextOf(pattern, "t:FirstDayOfWeek")); first != 0) {
    m_firstOfWeek = chrono::weekday(static_cast<unsigned>(std::countr_zero(first)));
  }
  if (const auto month = IndexIn(kMonths, TextOf(pattern, "t:Month"))) {
    m_month = chrono::month(static_cast<unsigned>(*month) + 1);
  }
  const bool needsWeekdays = m_unit == Unit::kWeek || (m_unit == Unit::kMonth && m_dayOfMonth == 0);
  return m_interval > 0 && (!needsWeekdays || m_weekdays != 0) && (row->months == 0 || m_month);
}

bool Series::ReadRange(pugi::xml_node range) {
  m_first = ReadDay(TextOf(range, "t:StartDate")).value_or(m_first);
  const std::string_view kind = range.name();
  if (kind == "t:EndDateRecurrence") m_last = ReadDay(TextOf(range, "t:EndDate"));
  if (kind == "t:NumberedRecurrence") m_occurrences = NumberOf(range, "t:NumberOfOccurrences");
  return m_last || m_occurrences || kind == "t:NoEndRecurrence";
}

std::vector<std::int64_t> Series::StartsBetween(std::int64_t from, std::int64_t to) const {
  const auto dayOf = [&](std::int64_t utc) {
    return chrono::floor<chrono::days>(chrono::sys_seconds(chrono::seconds(m_clock.ToWall(utc))));
  };
  std::vector<std::int64_t> starts;
  const Day end = std::min(dayOf(to), m_last.value_or(Day::max()));
  for (Day day = std::max(dayOf(from), m_first); day <= end; day += chrono::days(1)) {
    const auto number = NumberOn(day);
    if (!number || *number >= m_occurrences.value_or(*number + 1)) continue;
    const std::int64_t start = m_clock.ToUtc((day + m_hour).time_since_epoch().count());
    if (start >= from && start < to) starts.push_back(start);
  }
  return starts;
}

std::optional<std::int64_t> Series::NumberOn(Day day) const {
  if (m_unit == Unit::kWeek) return NumberByWeeks(day);
  if (m_unit == Unit::kMonth) return NumberByMonths(day);
  const std::int64_t days = (day - m_first).count();
  if (days % m_interval != 0) return std::nullopt;
  return days / m_interval;
}

bool Series::Names(Day day) const {
  return (m_weekdays >> chrono::weekday(day).c_encoding() & 1) != 0;
}

Series::Day Series::WeekOf(Day day) const { return day - (chrono::weekday(day) - m_firstOfWeek); }

std::int64_t Series::NamedBefore(Day day) const {
  std::int64_t count = 0;
  for (Day before = WeekOf(day); before < day; before += chrono::days(1)) count += Names(before);
  return count;
}

std::optional<std::int64_t> Series::NumberByWeeks(Day day) const {
  const std::int64_t weeks =
      chrono::duration_cast<chrono::weeks>(WeekOf(day) - WeekOf(m_first)).count();
  if (weeks % m_interval != 0 || !Names(day)) return std::nullopt;
  return weeks / m_interval * std::popcount(m_weekdays) + NamedBefore(day) - NamedBefore(m_first);
}

// In a month that is too short for it, a day of the month is the last.
Series::Day Series::DayIn(Month month) const {
  const Day last = month / chrono::last;
  const Day first = month / chrono::day(1);
  if (m_dayOfMonth > 0) return std::min(first + chrono::days(m_dayOfMonth - 1), last);
  if (kPlaces[m_place] == "Last") {
    Day day = last;
    while (!Names(day)) day -= chrono::days(1);
    return day;
  }
  Day day = first;
  for (size_t left = m_place;; day += chrono::days(1)) {
    if (Names(day) && left-- == 0) return day;
  }
}

std::optional<std::int64_t> Series::NumberByMonths(Day day) const {
  Month first = MonthOf(m_first);
  if (m_month && *m_month < first.month()) first += chrono::years(1);
  if (m_month) first = first.year() / *m_month;
  const std::int64_t months = (MonthOf(day) - first).count();
  if (months < 0 || months % m_interval != 0 || day != DayIn(MonthOf(day))) return std::nullopt;
  const bool isFirstOver = DayIn(first) < m_first;
  return months / m_interval - (isFirstOver ? 1 : 0);
}

}  // namespace mailbox
