#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace platform {

// On which days something takes place that repeats. Which occurrence a day has, and which day an
// occurrence, is told without a walk: what it costs does not depend on how long the series goes on.
struct SeriesDays {
  using Day = std::chrono::sys_days;
  enum class Unit { kDay, kWeek, kMonth };
  static constexpr std::size_t kLast = 4;  // of nPlace

  Unit eUnit = Unit::kDay;
  std::int64_t nInterval = 1;  // units from one occurrence to the next, from 1
  unsigned nWeekdays = 0;      // bits of those that the pattern names, Sunday's is the lowest
  std::chrono::weekday objFirstOfWeek = std::chrono::Sunday;
  unsigned nDayOfMonth = 0;                    // 0: nPlace says which of the named days
  std::size_t nPlace = 0;                      // among the named days of a month: 0 to 3, or kLast
  std::optional<std::chrono::month> objMonth;  // of a year
  Day objFirst;                                // no occurrence is before it

  // Which occurrence the pattern has on that day, from 0; nothing for none. A pattern of weeks or
  // of places names a day of the week at least.
  std::optional<std::int64_t> NumberOn(Day objDay) const;
  // The day of that occurrence, from 0; nothing behind the year 9999.
  std::optional<Day> DayOf(std::int64_t nNumber) const;

 private:
  using Month = std::chrono::year_month;
  std::optional<std::int64_t> NumberByWeeks(Day objDay) const;
  std::optional<std::int64_t> NumberByMonths(Day objDay) const;
  Day DayByWeeks(std::int64_t nNumber) const;
  bool Names(Day objDay) const;                // its day of the week
  Day WeekOf(Day objDay) const;                // the first day of its week
  std::int64_t NamedBefore(Day objDay) const;  // in its week
  Month FirstMonth() const;                    // that the pattern counts from
  bool IsFirstMonthOver() const;               // its day is before the first
  Day DayIn(Month objMonth) const;
};

}  // namespace platform
