#include "platform/SeriesDays.h"

#include <algorithm>
#include <bit>

namespace platform {
namespace {

namespace chrono = std::chrono;

constexpr std::int64_t kMostUnits = 3660000;  // days of ten thousand years

chrono::year_month MonthOf(chrono::sys_days objDay) {
  const chrono::year_month_day objDate(objDay);
  return objDate.year() / objDate.month();
}

}  // namespace

std::optional<std::int64_t> SeriesDays::NumberOn(Day objDay) const {
  if (objDay < objFirst) return std::nullopt;
  if (eUnit == Unit::kWeek) return NumberByWeeks(objDay);
  if (eUnit == Unit::kMonth) return NumberByMonths(objDay);
  const std::int64_t nDays = (objDay - objFirst).count();
  if (nDays % nInterval != 0) return std::nullopt;
  return nDays / nInterval;
}

std::optional<SeriesDays::Day> SeriesDays::DayOf(std::int64_t nNumber) const {
  if (nNumber < 0 || nNumber > kMostUnits / nInterval) return std::nullopt;
  Day objDay = objFirst + chrono::days(nNumber * nInterval);
  if (eUnit == Unit::kWeek) objDay = DayByWeeks(nNumber);
  if (eUnit == Unit::kMonth) {
    const std::int64_t nMonths = (nNumber + (IsFirstMonthOver() ? 1 : 0)) * nInterval;
    if (nMonths > kMostUnits / 30) return std::nullopt;
    objDay = DayIn(FirstMonth() + chrono::months(nMonths));
  }
  if (objDay >= chrono::sys_days(chrono::year(10000) / 1 / 1)) return std::nullopt;
  return objDay;
}

bool SeriesDays::Names(Day objDay) const {
  return (nWeekdays >> chrono::weekday(objDay).c_encoding() & 1) != 0;
}

SeriesDays::Day SeriesDays::WeekOf(Day objDay) const {
  return objDay - (chrono::weekday(objDay) - objFirstOfWeek);
}

std::int64_t SeriesDays::NamedBefore(Day objDay) const {
  std::int64_t nCount = 0;
  for (Day obj = WeekOf(objDay); obj < objDay; obj += chrono::days(1)) nCount += Names(obj);
  return nCount;
}

std::optional<std::int64_t> SeriesDays::NumberByWeeks(Day objDay) const {
  const std::int64_t nWeeks =
      chrono::duration_cast<chrono::weeks>(WeekOf(objDay) - WeekOf(objFirst)).count();
  if (nWeeks % nInterval != 0 || !Names(objDay)) return std::nullopt;
  return nWeeks / nInterval * std::popcount(nWeekdays) + NamedBefore(objDay) -
         NamedBefore(objFirst);
}

SeriesDays::Day SeriesDays::DayByWeeks(std::int64_t nNumber) const {
  const std::int64_t nPerWeek = std::popcount(nWeekdays);
  const std::int64_t nFromWeek = nNumber + NamedBefore(objFirst);  // that the first lies in
  Day objDay = WeekOf(objFirst) + chrono::weeks(nFromWeek / nPerWeek * nInterval);
  for (std::int64_t nLeft = nFromWeek % nPerWeek;; objDay += chrono::days(1)) {
    if (Names(objDay) && nLeft-- == 0) return objDay;
  }
}

// In a month that is too short for it, a day of the month is the last.
SeriesDays::Day SeriesDays::DayIn(Month objIn) const {
  const Day objLast = objIn / chrono::last;
  Day objDay = objIn / chrono::day(1);
  if (nDayOfMonth > 0) return std::min(objDay + chrono::days(nDayOfMonth - 1), objLast);
  if (nPlace == kLast) {
    for (objDay = objLast; !Names(objDay);) objDay -= chrono::days(1);
    return objDay;
  }
  for (std::size_t nLeft = nPlace;; objDay += chrono::days(1)) {
    if (Names(objDay) && nLeft-- == 0) return objDay;
  }
}

SeriesDays::Month SeriesDays::FirstMonth() const {
  Month obj = MonthOf(objFirst);
  if (objMonth && *objMonth < obj.month()) obj += chrono::years(1);
  return objMonth ? obj.year() / *objMonth : obj;
}

bool SeriesDays::IsFirstMonthOver() const { return DayIn(FirstMonth()) < objFirst; }

std::optional<std::int64_t> SeriesDays::NumberByMonths(Day objDay) const {
  const std::int64_t nMonths = (MonthOf(objDay) - FirstMonth()).count();
  if (nMonths < 0 || nMonths % nInterval != 0 || objDay != DayIn(MonthOf(objDay))) {
    return std::nullopt;
  }
  return nMonths / nInterval - (IsFirstMonthOver() ? 1 : 0);
}

}  // namespace platform
