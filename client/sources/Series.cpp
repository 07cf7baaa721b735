#include "client/sources/Series.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <set>

#include <fmt/format.h>
#include <libical/ical.h>

#include "platform/SeriesDays.h"

namespace client {
namespace {

constexpr int kMostOccurrences = 999;
constexpr int kMostMonths = 99;  // between two occurrences
constexpr int kMostDays = 999;
constexpr int kMostWeeks = 99;

constexpr std::array<const char*, 7> kWeekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                  "Thursday", "Friday", "Saturday"};

struct Day {
  int weekday = 0;   // 0 is Sunday
  int position = 0;  // the second; -1 the last; 0 every one
};

// A rule's lists, of which Exchange needs few.
struct Lists {
  std::vector<Day> days;
  std::vector<int> monthDays;
  std::vector<int> months;
  std::vector<int> positions;
  bool others = false;  // lists that no pattern has

  explicit Lists(const icalrecurrencetype& rule);
  bool Within(bool day, bool monthDay, bool month, bool position) const {
    return !others && (day || days.empty()) && (monthDay || monthDays.empty()) &&
           (month || months.empty()) && (position || positions.empty());
  }
};

template <std::size_t kSize>
std::vector<int> ListOf(const short (&values)[kSize]) {
  std::vector<int> list;
  for (const short value : values) {
    if (value == ICAL_RECURRENCE_ARRAY_MAX) break;
    list.push_back(value);
  }
  return list;
}

Lists::Lists(const icalrecurrencetype& rule)
    : monthDays(ListOf(rule.by_month_day)),
      months(ListOf(rule.by_month)),
      positions(ListOf(rule.by_set_pos)) {
  for (const int day : ListOf(rule.by_day)) {
    const auto value = static_cast<short>(day);
    days.push_back({static_cast<int>(icalrecurrencetype_day_day_of_week(value)) - 1,
                    icalrecurrencetype_day_position(value)});
  }
  others = !ListOf(rule.by_year_day).empty() || !ListOf(rule.by_week_no).empty() ||
           ListOf(rule.by_hour).size() > 1 || ListOf(rule.by_minute).size() > 1 ||
           ListOf(rule.by_second).size() > 1;
}

// 1 to 4, and 5 for the last; 0 for what Exchange cannot name.
int IndexOf(int position) {
  if (position == -1) return 5;
  return position >= 1 && position <= 4 ? position : 0;
}

// What the days are called together where one of all is meant; empty for other sets.
const char* TogetherName(const std::vector<Day>& days) {
  std::set<int> set;
  for (const Day& day : days) set.insert(day.weekday);
  if (set.size() == 1) return kWeekdays[static_cast<std::size_t>(*set.begin())];
  if (set == std::set<int>{1, 2, 3, 4, 5}) return "Weekday";
  if (set == std::set<int>{0, 6}) return "WeekendDay";
  return set.size() == 7 ? "Day" : "";
}

// The second Tuesday, the last day: of a month or of a year's month.
bool SetRelative(const Lists& lists, Series& series) {
  const bool lastDay =
      lists.days.empty() && (lists.monthDays == std::vector<int>{-1} ||
                             (lists.monthDays == std::vector<int>{28, 29, 30, 31} &&
                              lists.positions == std::vector<int>{-1}));
  if (lastDay) {
    series.days = {"Day"};
    series.index = 5;
    return true;
  }
  if (lists.days.empty() || !lists.monthDays.empty()) return false;
  int position = lists.days[0].position;
  if (position != 0 && (lists.days.size() > 1 || !lists.positions.empty())) return false;
  if (position == 0) position = lists.positions.size() == 1 ? lists.positions[0] : 0;
  series.index = IndexOf(position);
  series.days = {TogetherName(lists.days)};
  return series.index != 0 && !series.days[0].empty();
}

// The day of the month of what is on that day, or on the last of a month that is too short for it;
// 0 for anything else. All days from the 28th on stand in such a list.
int LastOf(const Lists& lists) {
  const std::vector<int>& days = lists.monthDays;
  if (!lists.days.empty() || lists.positions != std::vector<int>{-1}) return 0;
  for (std::size_t i = 0; i < days.size(); ++i) {
    if (days[i] != 28 + static_cast<int>(i)) return 0;
  }
  return days.size() > 1 && days.size() <= 4 ? days.back() : 0;
}

bool SetMonthly(const Lists& lists, const CivilTime& start, Series& series) {
  if (!lists.Within(true, true, false, true) || series.interval > kMostMonths) return false;
  series.pattern = Series::Pattern::kRelativeMonthly;
  if (SetRelative(lists, series)) return true;
  if (const int day = LastOf(lists); day > 0) {
    series.pattern = Series::Pattern::kMonthly;
    series.dayOfMonth = day;
    return true;
  }
  if (!lists.days.empty() || !lists.positions.empty() || lists.monthDays.size() > 1) return false;
  series.pattern = Series::Pattern::kMonthly;
  series.dayOfMonth = lists.monthDays.empty() ? start.day : lists.monthDays[0];
  return series.dayOfMonth >= 1 && series.dayOfMonth <= 31;
}

// A year of several is so many months.
bool SetYearly(const Lists& lists, const CivilTime& start, Series& series) {
  if (!lists.Within(true, true, true, true) || lists.months.size() > 1) return false;
  // Days of the month without a month are those of every month.
  if (lists.months.empty() && !lists.monthDays.empty()) {
    return series.interval == 1 && SetMonthly(lists, start, series);
  }
  const int years = series.interval;
  Lists ofMonth = lists;
  ofMonth.months.clear();
  // The first Monday of a year is one of January, the last of December.
  const bool ofYear = lists.months.empty() && lists.days.size() == 1 && lists.days[0].position != 0;
  if (lists.months.empty() && !lists.days.empty() && !ofYear) return false;
  series.interval = 1;
  if (!SetMonthly(ofMonth, start, series)) return false;
  series.month = lists.months.empty() ? start.month : lists.months[0];
  if (ofYear) series.month = series.index == 5 ? 12 : 1;
  if (series.month < 1 || series.month > 12) return false;
  if (years > 1) {
    series.interval = 12 * std::min(years, kMostMonths);
    return series.interval <= kMostMonths && series.month == start.month;
  }
  series.pattern = series.pattern == Series::Pattern::kMonthly ? Series::Pattern::kYearly
                                                               : Series::Pattern::kRelativeYearly;
  return true;
}

bool SetWeekly(const Lists& lists, const CivilTime& start, Series& series) {
  if (!lists.Within(true, false, false, false) || series.interval > kMostWeeks) return false;
  series.pattern = Series::Pattern::kWeekly;
  std::set<int> set;
  for (const Day& day : lists.days) {
    if (day.position != 0) return false;
    set.insert(day.weekday);
  }
  if (set.empty()) set.insert(start.Weekday());
  for (const int day : set) series.days.emplace_back(WeekdayName(day));
  return true;
}

bool SetPattern(const icalrecurrencetype& rule, const CivilTime& start, Series& series) {
  const Lists lists(rule);
  switch (rule.freq) {
    case ICAL_DAILY_RECURRENCE:
      // On working days alone: a series of weeks.
      if (series.interval == 1 && !lists.days.empty()) return SetWeekly(lists, start, series);
      return lists.Within(false, false, false, false) && series.interval <= kMostDays;
    case ICAL_WEEKLY_RECURRENCE:
      return SetWeekly(lists, start, series);
    case ICAL_MONTHLY_RECURRENCE:
      return SetMonthly(lists, start, series);
    case ICAL_YEARLY_RECURRENCE:
      return SetYearly(lists, start, series);
    default:
      return false;
  }
}

// The day of the last occurrence at or before that moment.
std::optional<CivilTime> LastDay(const icaltimetype& until, const CivilTime& start,
                                 const CalendarZone& zone) {
  CivilTime last{until.year, until.month, until.day, until.hour, until.minute, until.second};
  if (!last.IsValid()) return std::nullopt;
  if (until.is_date) return last;
  if (icaltime_is_utc(until)) last = zone.FromUtc(last.AsUtc());
  const CivilTime onThatDay{last.year,  last.month,   last.day,
                            start.hour, start.minute, start.second};
  if (onThatDay > last) last = CivilTime::OfUtc(last.AsUtc() - 86400);
  return CivilTime{last.year, last.month, last.day, 0, 0, 0};
}

void SetEnd(const icalrecurrencetype& rule, const CivilTime& start, const CalendarZone& zone,
            Series& series, std::vector<std::string>& left) {
  series.count = std::clamp(rule.count, 0, kMostOccurrences);
  series.isCut = rule.count > kMostOccurrences;
  if (series.isCut) {
    left.push_back(
        fmt::format("all but the first {} of {} occurrences", kMostOccurrences, rule.count));
  }
  if (series.count == 0 && !icaltime_is_null_time(rule.until)) {
    series.end = LastDay(rule.until, start, zone);
  }
}

int WeekdayOf(const std::string& name) {
  for (std::size_t i = 0; i < kWeekdays.size(); ++i) {
    if (name == kWeekdays[i]) return static_cast<int>(i);
  }
  return -1;
}

// Bits of the days of the week that a name means, Sunday's is the lowest.
unsigned WeekdayBits(const std::string& name) {
  constexpr unsigned kEveryDay = 0x7F;
  constexpr unsigned kWeekend = 0x41;
  if (name == "Day") return kEveryDay;
  if (name == "Weekday") return kEveryDay & ~kWeekend;
  if (name == "WeekendDay") return kWeekend;
  return 1U << WeekdayOf(name);
}

platform::SeriesDays::Day SysDayOf(const CivilTime& time) {
  return std::chrono::year(time.year) / time.month / time.day;
}

platform::SeriesDays DaysOf(const Series& series, const CivilTime& start) {
  using Unit = platform::SeriesDays::Unit;
  platform::SeriesDays days;
  const bool isWeekly = series.pattern == Series::Pattern::kWeekly;
  days.eUnit = series.pattern == Series::Pattern::kDaily ? Unit::kDay
               : isWeekly                                ? Unit::kWeek
                                                         : Unit::kMonth;
  const bool isYearly = series.IsYearly();
  days.nInterval = isYearly ? 12 : series.interval;
  if (isYearly) days.objMonth = std::chrono::month(static_cast<unsigned>(series.month));
  for (const std::string& name : series.days) days.nWeekdays |= WeekdayBits(name);
  const int firstDay = WeekdayOf(series.firstDay);
  days.objFirstOfWeek = std::chrono::weekday(static_cast<unsigned>(firstDay));
  days.nDayOfMonth = static_cast<unsigned>(series.dayOfMonth);
  if (series.index > 0) days.nPlace = static_cast<std::size_t>(series.index - 1);
  days.objFirst = SysDayOf(start);
  return days;
}

// "W,3" and its like; empty for what no code says. `shift` is by how many days the engine's date is
// ahead of the series' own.
std::string CodeOf(const Series& series, const CivilTime& start, const CivilTime& local,
                   int shift) {
  const auto relative = [&]() -> std::string {
    const int weekday = WeekdayOf(series.days[0]);
    return weekday < 0 || shift != 0 ? std::string()
                                     : fmt::format("M,0,{}.{}", series.index, weekday);
  };
  const int dayOfMonth = shift == 0 ? series.dayOfMonth : local.day;
  switch (series.pattern) {
    case Series::Pattern::kDaily:
      return "D,0";
    case Series::Pattern::kWeekly: {
      const bool own = std::find(series.days.begin(), series.days.end(),
                                 WeekdayName(start.Weekday())) != series.days.end();
      const int day = own ? start.Weekday() : WeekdayOf(series.days[0]);
      return fmt::format("W,{}", ((day + shift) % 7 + 7) % 7);
    }
    case Series::Pattern::kMonthly:
      return fmt::format("M,{}", dayOfMonth);
    case Series::Pattern::kRelativeMonthly:
      return relative();
    case Series::Pattern::kYearly: {
      const int month = shift == 0 ? series.month : local.month;
      // The code for years knows two months.
      if (month == 1 || month == 6) return fmt::format("Y,{},{}", month, dayOfMonth);
      if (series.month != start.month) return {};
      return fmt::format("M,{}", dayOfMonth);
    }
    case Series::Pattern::kRelativeYearly:
      return series.month == start.month ? relative() : std::string();
  }
  return {};
}

}  // namespace

const char* WeekdayName(int weekday) { return kWeekdays[static_cast<std::size_t>(weekday) % 7]; }

std::optional<Series> SeriesOf(const std::string& rule, const CivilTime& start,
                               const CalendarZone& zone, std::vector<std::string>& left) {
  icalerror_set_errors_are_fatal(false);
  const icalrecurrencetype parsed = icalrecurrencetype_from_string(rule.c_str());
  Series series;
  series.interval = std::max<int>(parsed.interval, 1);
  if (parsed.week_start != ICAL_NO_WEEKDAY) {
    series.firstDay = WeekdayName(static_cast<int>(parsed.week_start) - 1);
  }
  if (parsed.freq == ICAL_NO_RECURRENCE || !SetPattern(parsed, start, series)) return std::nullopt;
  const bool leapDay =
      series.pattern == Series::Pattern::kYearly && series.month == 2 && series.dayOfMonth == 29;
  const bool isMeant = LastOf(Lists(parsed)) > 0;
  const bool isMissing =
      leapDay || (series.pattern == Series::Pattern::kMonthly && series.dayOfMonth > 28);
  if (isMissing && !isMeant) {
    left.push_back(fmt::format("that months without a day {} are passed over: there it is the last",
                               series.dayOfMonth));
  }
  SetEnd(parsed, start, zone, series, left);
  return series;
}

std::optional<std::int64_t> NumberOn(const Series& series, const CivilTime& start,
                                     const CivilTime& day) {
  return DaysOf(series, start).NumberOn(SysDayOf(day));
}

bool HasOccurrence(const Series& series, const CivilTime& start) {
  const auto first = DaysOf(series, start).DayOf(0);
  return first && (!series.end || *first <= SysDayOf(*series.end));
}

bool IsOver(const Series& series, const CivilTime& day, std::int64_t number) {
  if (series.end && SysDayOf(day) > SysDayOf(*series.end)) return true;
  return series.count > 0 && number >= series.count;
}

std::string RecurrenceText(const Series& series, const CivilTime& start, const CivilTime& local) {
  const auto day = [](const CivilTime& time) {
    return CivilTime{time.year, time.month, time.day, 0, 0, 0}.AsUtc() / 86400;
  };
  const auto shift = static_cast<int>(day(local) - day(start));
  const std::string code = CodeOf(series, start, local, shift);
  if (code.empty()) return {};
  const int interval = series.IsYearly() && code[0] == 'M' ? 12 : series.interval;
  const std::string end =
      series.end ? CivilTime::OfUtc(series.end->AsUtc() + shift * 86400).Date() : "";
  // Code D takes its end from the last field, tasks from the one before it.
  return fmt::format("{};{};{};{};{};{};", code, interval, series.count, local.Date(), end, end);
}

}  // namespace client
