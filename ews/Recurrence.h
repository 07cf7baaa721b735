#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ews/Types.h"
#include "ews/WireTime.h"
#include "platform/COleDateTime.h"
#include "platform/SeriesDays.h"

namespace ews {

class SoapWriter;

// How an appointment or a task repeats: one of six patterns, and a range that begins on a day and
// ends on a day, after a number of occurrences, or never. Of the end's two setters the later one
// wins. Throws ServiceException for an invalid date and for a day of month outside 1 to 31; an
// interval below 1 counts as 1.
class Recurrence {
 public:
  static Recurrence DailyPattern(const COleDateTime& dtStart, int nInterval);
  static Recurrence WeeklyPattern(const COleDateTime& dtStart, int nInterval, DayOfTheWeek eDay);
  // On several days. A week begins on eFirst, which counts where not every week is meant.
  static Recurrence WeeklyPattern(const COleDateTime& dtStart, int nInterval,
                                  std::vector<DayOfTheWeek> arrDays, DayOfTheWeek eFirst);
  static Recurrence MonthlyPattern(const COleDateTime& dtStart, int nInterval, int nDayOfMonth);
  static Recurrence RelativeMonthlyPattern(const COleDateTime& dtStart, int nInterval,
                                           DayOfTheWeek eDay, DayOfTheWeekIndex eIndex);
  // A number that is no month stands for the month that the range begins in.
  static Recurrence YearlyPattern(const COleDateTime& dtStart, Month eMonth, int nDayOfMonth);

  static Recurrence RelativeYearlyPattern(const COleDateTime& dtStart, Month eMonth,
                                          DayOfTheWeek eDay, DayOfTheWeekIndex eIndex);

  void SetStartDate(const COleDateTime& dtStart);
  const COleDateTime& StartDate() const { return m_dtStart; }
  void SetEndDate(const COleDateTime& dtEnd);
  // A number below 1 changes nothing.
  void SetNumberOfOccurrences(int nNumber);
  // Empty unless it is what ends the range.
  std::optional<COleDateTime> EndDate() const;
  std::optional<int> NumberOfOccurrences() const;

  // Which occurrence is on that day, from 1; nothing for none. Ends and all, in the zone of its
  // days.
  std::optional<std::int64_t> IndexOn(const COleDateTime& dtDay) const;

  // Makes of it what the service takes: a number of occurrences above 999 becomes the day of the
  // last, or no end where that is too late for an end. False where it takes none: the series ends
  // before its first day, or too much time lies between two.
  [[nodiscard]] bool MakeAcceptable();

  // What stands in the element Recurrence: the pattern and the range.
  // fnDay writes its days: with the offset of the machine, or as they are.
  using DayFormat = std::string (*)(const COleDateTime&);
  void WriteTo(SoapWriter& objWriter, DayFormat fnDay = &FormatLocalDay) const;

 private:
  struct Pattern {
    std::string_view strElement;
    std::optional<int> nInterval{};
    std::optional<int> nDayOfMonth{};
    std::vector<DayOfTheWeek> arrDays{};
    std::optional<DayOfTheWeek> eFirst{};
    std::optional<DayOfTheWeekIndex> eIndex{};
    std::optional<Month> eMonth{};
  };

  Recurrence(const COleDateTime& dtStart, Pattern objPattern);
  platform::SeriesDays Days() const;
  bool HasOccurrence() const;  // false where it ends before its first one
  void LimitNumber();
  Month MonthOfYear() const;  // where the pattern has one
  void WritePattern(SoapWriter& objWriter) const;
  void WriteRange(SoapWriter& objWriter, DayFormat fnDay) const;

  Pattern m_objPattern;
  COleDateTime m_dtStart;
  std::variant<std::monostate, COleDateTime, int> m_objEnd;
};

}  // namespace ews
