#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <pugixml.hpp>
#include <vector>

#include "mailboxd/store/Store.h"
#include "platform/ZoneClock.h"

namespace mailbox {

// When an entry of a calendar takes place that repeats. Pattern and range count days by the clocks
// of the entry's own zone, whose hour it keeps over a change to summer time.
//
// Whether the series is on a day is told of that day alone, and as which occurrence: what a month
// costs does not depend on how long the series goes on, or on what numbers stand in it.
class Series {
 public:
  // Nothing for an item that does not repeat, or not as entries of calendars do.
  static std::optional<Series> Of(const ItemInfo& item);

  // Its starts from `from` on and before `to`, in order; all in seconds since 1970-01-01 UTC.
  std::vector<std::int64_t> StartsBetween(std::int64_t from, std::int64_t to) const;

 private:
  using Day = std::chrono::sys_days;
  using Month = std::chrono::year_month;
  enum class Unit { kDay, kWeek, kMonth };

  Series() = default;
  bool ReadPattern(pugi::xml_node pattern);
  bool ReadRange(pugi::xml_node range);
  // Which occurrence the pattern has on that day, from 0; nothing for none.
  std::optional<std::int64_t> NumberOn(Day day) const;
  std::optional<std::int64_t> NumberByWeeks(Day day) const;
  std::optional<std::int64_t> NumberByMonths(Day day) const;
  bool Names(Day day) const;  // its day of the week
  Day WeekOf(Day day) const;  // the first day of its week
  std::int64_t NamedBefore(Day day) const;
  Day DayIn(Month month) const;

  Unit m_unit = Unit::kDay;
  std::int64_t m_interval = 1;  // units from one occurrence to the next
  unsigned m_weekdays = 0;      // bits of those that the pattern names, Sunday's is the lowest
  std::chrono::weekday m_firstOfWeek = std::chrono::Sunday;
  unsigned m_dayOfMonth = 0;                  // 0: m_place says which of the named days
  std::size_t m_place = 0;                    // among the named days of a month, from 0
  std::optional<std::chrono::month> m_month;  // of a year
  Day m_first;                                // of the range
  std::optional<Day> m_last;                  // of the range
  std::optional<std::int64_t> m_occurrences;  // in all
  platform::ZoneClock m_clock;
  std::chrono::seconds m_hour{0};  // since midnight
};

}  // namespace mailbox
