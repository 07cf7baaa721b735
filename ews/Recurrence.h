#pragma once

#include <optional>
#include <string_view>
#include <variant>

#include "ews/Types.h"
#include "platform/COleDateTime.h"

namespace ews {

class SoapWriter;

// How an appointment or a task repeats: one of five patterns, and a range that begins on a day and
// ends on a day, after a number of occurrences, or never. Of the end's two setters the later one
// wins. Throws ServiceException for an invalid date and for a day of month outside 1 to 31; an
// interval below 1 counts as 1.
class Recurrence {
 public:
  static Recurrence DailyPattern(const COleDateTime& dtStart, int nInterval);
  static Recurrence WeeklyPattern(const COleDateTime& dtStart, int nInterval, DayOfTheWeek eDay);
  static Recurrence MonthlyPattern(const COleDateTime& dtStart, int nInterval, int nDayOfMonth);
  static Recurrence RelativeMonthlyPattern(const COleDateTime& dtStart, int nInterval,
                                           DayOfTheWeek eDay, DayOfTheWeekIndex eIndex);
  // A number that is no month stands for the month that the range begins in.
  static Recurrence YearlyPattern(const COleDateTime& dtStart, Month eMonth, int nDayOfMonth);

  void SetStartDate(const COleDateTime& dtStart);
  const COleDateTime& StartDate() const { return m_dtStart; }
  void SetEndDate(const COleDateTime& dtEnd);
  // A number below 1 changes nothing.
  void SetNumberOfOccurrences(int nNumber);
  // Empty unless it is what ends the range.
  std::optional<COleDateTime> EndDate() const;
  std::optional<int> NumberOfOccurrences() const;

  // What stands in the element Recurrence: the pattern and the range.
  void WriteTo(SoapWriter& objWriter) const;

 private:
  struct Pattern {
    std::string_view strElement;
    std::optional<int> nInterval{};
    std::optional<int> nDayOfMonth{};
    std::optional<DayOfTheWeek> eDay{};
    std::optional<DayOfTheWeekIndex> eIndex{};
    std::optional<Month> eMonth{};
  };

  Recurrence(const COleDateTime& dtStart, Pattern objPattern);
  void WritePattern(SoapWriter& objWriter) const;
  void WriteRange(SoapWriter& objWriter) const;

  Pattern m_objPattern;
  COleDateTime m_dtStart;
  std::variant<std::monostate, COleDateTime, int> m_objEnd;
};

}  // namespace ews
