#include "pipeline/RecurrenceText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include "ews/Settings.h"
#include "pipeline/ItemDescriptor.h"
#include "pipeline/SaverSteps.h"

namespace {

constexpr int kFields = 6;

// As the system reads numbers: blanks, a sign, digits, and 0 without any; what is too large stops
// at the largest.
int NumberOf(CString str) {
  str.TrimLeft();
  std::u16string_view strDigits = str.View();
  const bool bMinus = strDigits.starts_with(u'-');
  if (bMinus || strDigits.starts_with(u'+')) strDigits.remove_prefix(1);
  constexpr std::int64_t kMost = std::numeric_limits<int>::max();
  std::int64_t nValue = 0;
  for (const char16_t ch : strDigits) {
    if (ch < u'0' || ch > u'9') break;
    nValue = std::min(nValue * 10 + (ch - u'0'), kMost);
  }
  return static_cast<int>(bMinus ? -nValue : nValue);
}

// The text up to the first of the marks, which leaves the text with it. Without one: all of the
// text where bToEnd is set, else nothing.
CString TakeUpTo(char16_t chMark, CString& strText, bool bToEnd) {
  const int nAt = strText.Find(chMark);
  const CString strPart = nAt >= 0 ? strText.Left(nAt) : bToEnd ? strText : CString();
  strText = nAt >= 0 ? strText.Mid(nAt + 1) : CString();
  return strPart;
}

struct SeriesText {
  CString strCode;
  int nA = 0;
  CString strB;
  std::array<CString, kFields + 1> arr;  // [1] to [6]
};

SeriesText SplitFields(CString strText) {
  SeriesText objText;
  for (int n = 1; n <= kFields; ++n) {
    // A field without its end counts with the safe switch alone.
    objText.arr.at(static_cast<size_t>(n)) = TakeUpTo(u';', strText, ews::Settings().bSafe);
  }
  CString strRest = objText.arr[1];
  objText.strCode = TakeUpTo(u',', strRest, /*bToEnd=*/true);
  const bool bHasB = strRest.Contains(std::u16string_view(u","));
  const CString strA = TakeUpTo(u',', strRest, /*bToEnd=*/true);
  objText.nA = NumberOf(strA);
  objText.strB = bHasB ? strRest : strA;
  return objText;
}

ews::DayOfTheWeek DayOf(int nDay) {
  return nDay >= 0 && nDay <= 6 ? static_cast<ews::DayOfTheWeek>(nDay) : ews::DayOfTheWeek::Sunday;
}

ews::DayOfTheWeekIndex WeekOf(int nWeek) {
  return nWeek >= 1 && nWeek <= 5 ? static_cast<ews::DayOfTheWeekIndex>(nWeek - 1)
                                  : ews::DayOfTheWeekIndex::First;
}

// kept: the other months pass as 0.
ews::Month MonthOf(int nMonth) {
  return nMonth == 1 || nMonth == 6 ? static_cast<ews::Month>(nMonth) : static_cast<ews::Month>(0);
}

int DayOfMonth(int nDay) { return ews::Settings().bSafe ? std::clamp(nDay, 1, 31) : nDay; }

ews::Recurrence PatternOf(const SeriesText& objText, const COleDateTime& dtStart,
                          const RecurrenceRules& objRules) {
  const int nInterval = NumberOf(objText.arr[2]);
  if (objText.strCode == u"D") {
    return ews::Recurrence::DailyPattern(dtStart, objRules.bDailyInterval ? nInterval : 1);
  }
  if (objText.strCode == u"W") {
    return ews::Recurrence::WeeklyPattern(dtStart, nInterval, DayOf(objText.nA));
  }
  if (objText.strCode == u"M") {
    const int nPoint = objText.strB.Find(u'.');
    if (nPoint < 0) {
      return ews::Recurrence::MonthlyPattern(dtStart, nInterval, DayOfMonth(objText.nA));
    }
    return ews::Recurrence::RelativeMonthlyPattern(dtStart, nInterval,
                                                   DayOf(NumberOf(objText.strB.Mid(nPoint + 1))),
                                                   WeekOf(NumberOf(objText.strB.Left(nPoint))));
  }
  if (objText.strCode == u"Y") {
    return ews::Recurrence::YearlyPattern(dtStart, MonthOf(objText.nA),
                                          DayOfMonth(NumberOf(objText.strB)));
  }
  throw std::invalid_argument("A series of an unknown kind.");
}

}  // namespace

void ReadRecurrence(const CString& strText, const COleDateTime& dtItemStart,
                    const RecurrenceRules& objRules, std::optional<ews::Recurrence>& objSeries) {
  const bool bSafe = ews::Settings().bSafe;
  const SeriesText objText = SplitFields(strText);
  const bool bDaily = objText.strCode == u"D";
  COleDateTime dtFirst = ConvertToDate(objText.arr[4]);
  const COleDateTime dtLast =
      ConvertToDate(objText.arr[bDaily && objRules.bDailyEndInField6 ? 6 : 5]);
  if (bSafe) {
    constexpr auto kCodes = std::to_array<std::u16string_view>({u"D", u"W", u"M", u"Y"});
    if (std::ranges::find(kCodes, objText.strCode.View()) == kCodes.end()) return;
    if (IsDate(dtItemStart) && (bDaily || !IsDate(dtFirst))) dtFirst = dtItemStart;
    if (!IsDate(dtFirst)) return;
  }
  objSeries = PatternOf(objText, WallClock(bDaily && !bSafe ? dtItemStart : dtFirst), objRules);
  objSeries->SetNumberOfOccurrences(NumberOf(objText.arr[3]));
  objSeries->SetStartDate(WallClock(dtFirst));
  if (!bSafe || IsDate(dtLast)) objSeries->SetEndDate(WallClock(dtLast));
  // The service takes no item with such a series.
  if (bSafe && !objSeries->MakeAcceptable()) objSeries.reset();
}
