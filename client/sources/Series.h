#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/sources/CalendarZone.h"

namespace client {

// How an appointment or a task repeats, in the patterns that Exchange has.
struct Series {
  enum class Pattern {
    kDaily,
    kWeekly,
    kMonthly,          // on a day of the month; the last day where a month is too short
    kRelativeMonthly,  // the first Monday, the last weekday
    kYearly,
    kRelativeYearly,
  };
  Pattern pattern = Pattern::kDaily;
  int interval = 1;                 // of its days, weeks, months; 1 for the yearly ones
  std::vector<std::string> days;    // "Monday"; of the relative ones "Day", "Weekday" too
  std::string firstDay = "Monday";  // of a week, which counts where every second one is meant
  int dayOfMonth = 0;
  int month = 0;  // 1 to 12
  int index = 0;  // 1 to 4, 5 the last

  int count = 0;                 // of occurrences; 0 where something else ends it
  std::optional<CivilTime> end;  // the day of the last one
  bool isCut = false;            // there are more than Exchange counts

  bool IsYearly() const {
    return pattern == Pattern::kYearly || pattern == Pattern::kRelativeYearly;
  }
};

// The rule of a calendar (RFC 5545) for what begins at `start`, the wall clock of `zone`. Nothing
// where Exchange has no such pattern. What it has nearly is taken and told in `left`.
std::optional<Series> SeriesOf(const std::string& rule, const CivilTime& start,
                               const CalendarZone& zone, std::vector<std::string>& left);

// Which occurrence of a series that begins at `start` is on that day, from 0, though the series may
// be over by then; nothing for a day that its pattern does not name.
std::optional<std::int64_t> NumberOn(const Series& series, const CivilTime& start,
                                     const CivilTime& day);
bool HasOccurrence(const Series& series, const CivilTime& start);  // false where it ends before
bool IsOver(const Series& series, const CivilTime& day, std::int64_t number);

// The recurrence line of a descriptor, where a series that begins at `start` of its own zone begins
// at `local` of the engine's. A line carries one day of a week, that of the first occurrence.
// Empty for a pattern that it cannot say nearly.
std::string RecurrenceText(const Series& series, const CivilTime& start, const CivilTime& local);

// "Sunday" for 0.
const char* WeekdayName(int weekday);

}  // namespace client
