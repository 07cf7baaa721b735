#pragma once

#include <optional>
#include <string_view>

#include "ews/Recurrence.h"
#include "platform/COleDateTime.h"
#include "platform/CString.h"

// clang-format off
// How an appointment or a task repeats, as its descriptor says it: six fields, each closed by ";".
//
//   1  code,a  or  code,a,b     without a second comma, b is the text of a
//   2  interval
//   3  number of occurrences
//   4  first day of the series, a date text
//   5  last day
//   6  last day of a daily appointment
//
//   code  repeats                   from       a                          b
//   D     each day                  the item's start
//   W     each week                 field 4    day, 0 Sunday to 6
//   M     each month                field 4    day of the month           no "." in it
//   M     each month                field 4                               week 1 to 5 (5 the last), ".", day
//   Y     each year                 field 4    month (1 and 6 alone)      day of the month
//
// "W,3;2;10;2024-01-03;2024-05-22;" is each second Wednesday. A number that is none of its table
// counts as the first of it; of the months all but two count as 0, which is the month of field 4.
// clang-format on

// What differs between the two types.
struct RecurrenceRules {
  bool bDailyInterval;     // a daily series repeats after field 2, and not each day
  bool bDailyEndInField6;  // and ends by field 6
};
inline constexpr RecurrenceRules kAppointmentSeries{.bDailyInterval = true,
                                                    .bDailyEndInField6 = true};
inline constexpr RecurrenceRules kTaskSeries{.bDailyInterval = false, .bDailyEndInField6 = false};

// What the trace says with the safe switch where none is made.
inline constexpr std::u16string_view kSeriesLeftOut =
    u"The descriptor holds a wrong value, left out: series";

// Sets objSeries; what was made before a failure stays there, and may be sent. Throws
// ews::ServiceException and std::exception for a date, a day of the month or a code that is none.
// With the safe switch a series is made of what is valid, none where nothing is, and nothing
// thrown: of field 4 and the item's start, either stands for the other where that is no date, a day
// of the month is brought into 1 to 31, and a last day that is no date ends nothing. None is made
// that ends before it begins, or whose days lie too far apart for the service.
void ReadRecurrence(const CString& strText, const COleDateTime& dtItemStart,
                    const RecurrenceRules& objRules, std::optional<ews::Recurrence>& objSeries);
