#include "ews/Recurrence.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>

#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"

namespace ews {

using enum SoapWriter::Vocabulary;

namespace {

int ValidInterval(int nInterval) { return std::max(nInterval, 1); }

int ValidDayOfMonth(int nDay) {
  if (nDay < 1 || nDay > 31) throw ServiceException("DayOfMonth must be between 1 and 31.");
  return nDay;
}

platform::SeriesDays::Day DayOf(const COleDateTime& dt) {
  return std::chrono::year(dt.GetYear()) / dt.GetMonth() / dt.GetDay();
}

// As platform::SeriesDays has them.
unsigned WeekdayBits(DayOfTheWeek eDay) {
  constexpr unsigned kWeekend = 0x41;
  constexpr unsigned kEveryDay = 0x7F;
  if (eDay == DayOfTheWeek::Day) return kEveryDay;
  if (eDay == DayOfTheWeek::Weekday) return kEveryDay & ~kWeekend;
  if (eDay == DayOfTheWeek::WeekendDay) return kWeekend;
  return 1u << static_cast<unsigned>(eDay);
}

void WriteNumber(SoapWriter& objWriter, std::string_view strElement, int nNumber) {
  objWriter.Element(kTypes, strElement, std::string_view(std::to_string(nNumber)));
}

void WriteDays(SoapWriter& objWriter, const std::vector<DayOfTheWeek>& arrDays) {
  if (arrDays.empty()) return;
  std::string strDays;
  for (const DayOfTheWeek eDay : arrDays) {
    if (!strDays.empty()) strDays += ' ';
    strDays += WireName(eDay);
  }
  objWriter.Element(kTypes, "DaysOfWeek", std::string_view(strDays));
}

}  // namespace

Recurrence::Recurrence(const COleDateTime& dtStart, Pattern objPattern)
    : m_objPattern(std::move(objPattern)), m_dtStart(ValidDate(dtStart)) {}

Recurrence Recurrence::DailyPattern(const COleDateTime& dtStart, int nInterval) {
  return {dtStart, {.strElement = "DailyRecurrence", .nInterval = ValidInterval(nInterval)}};
}

Recurrence Recurrence::WeeklyPattern(const COleDateTime& dtStart, int nInterval,
                                     DayOfTheWeek eDay) {
  return {
      dtStart,
      {.strElement = "WeeklyRecurrence", .nInterval = ValidInterval(nInterval), .arrDays = {eDay}}};
}

Recurrence Recurrence::WeeklyPattern(const COleDateTime& dtStart, int nInterval,
                                     std::vector<DayOfTheWeek> arrDays, DayOfTheWeek eFirst) {
  return {dtStart,
          {.strElement = "WeeklyRecurrence",
           .nInterval = ValidInterval(nInterval),
           .arrDays = std::move(arrDays),
           .eFirst = eFirst}};
}

Recurrence Recurrence::MonthlyPattern(const COleDateTime& dtStart, int nInterval, int nDayOfMonth) {
  return {dtStart,
          {.strElement = "AbsoluteMonthlyRecurrence",
           .nInterval = ValidInterval(nInterval),
           .nDayOfMonth = ValidDayOfMonth(nDayOfMonth)}};
}

Recurrence Recurrence::RelativeMonthlyPattern(const COleDateTime& dtStart, int nInterval,
                                              DayOfTheWeek eDay, DayOfTheWeekIndex eIndex) {
  return {dtStart,
          {.strElement = "RelativeMonthlyRecurrence",
           .nInterval = ValidInterval(nInterval),
           .arrDays = {eDay},
           .eIndex = eIndex}};
}

Recurrence Recurrence::YearlyPattern(const COleDateTime& dtStart, Month eMonth, int nDayOfMonth) {
  return {dtStart,
          {.strElement = "AbsoluteYearlyRecurrence",
           .nDayOfMonth = ValidDayOfMonth(nDayOfMonth),
           .eMonth = eMonth}};
}

Recurrence Recurrence::RelativeYearlyPattern(const COleDateTime& dtStart, Month eMonth,
                                             DayOfTheWeek eDay, DayOfTheWeekIndex eIndex) {
  return {dtStart,
          {.strElement = "RelativeYearlyRecurrence",
           .arrDays = {eDay},
           .eIndex = eIndex,
           .eMonth = eMonth}};
}

void Recurrence::SetStartDate(const COleDateTime& dtStart) { m_dtStart = ValidDate(dtStart); }

void Recurrence::SetEndDate(const COleDateTime& dtEnd) { m_objEnd = ValidDate(dtEnd); }

void Recurrence::SetNumberOfOccurrences(int nNumber) {
  if (nNumber >= 1) m_objEnd = nNumber;
}

std::optional<COleDateTime> Recurrence::EndDate() const {
  const auto* pEnd = std::get_if<COleDateTime>(&m_objEnd);
  return pEnd ? std::optional(*pEnd) : std::nullopt;
}

std::optional<int> Recurrence::NumberOfOccurrences() const {
  const auto* pNumber = std::get_if<int>(&m_objEnd);
  return pNumber ? std::optional(*pNumber) : std::nullopt;
}

std::optional<std::int64_t> Recurrence::IndexOn(const COleDateTime& dtDay) const {
  const platform::SeriesDays::Day objDay = DayOf(dtDay);
  const auto objEnd = EndDate();
  const auto nNumber = Days().NumberOn(objDay);
  const auto nMost = NumberOfOccurrences();
  if (!nNumber || (objEnd && objDay > DayOf(*objEnd)) || (nMost && *nNumber >= *nMost)) {
    return std::nullopt;
  }
  return *nNumber + 1;
}

bool Recurrence::MakeAcceptable() {
  constexpr int kMostDays = 999;  // between two
  constexpr int kMostOthers = 99;
  const bool bDays = Days().eUnit == platform::SeriesDays::Unit::kDay;
  if (m_objPattern.nInterval.value_or(1) > (bDays ? kMostDays : kMostOthers)) return false;
  LimitNumber();
  return HasOccurrence();
}

void Recurrence::LimitNumber() {
  constexpr int kMostOccurrences = 999;
  constexpr std::chrono::year kBehindLast{4500};  // of the service's calendar
  const auto nNumber = NumberOfOccurrences();
  if (!nNumber || *nNumber <= kMostOccurrences) return;
  m_objEnd = std::monostate();
  const auto objLast = Days().DayOf(*nNumber - 1);
  if (!objLast) return;
  const std::chrono::year_month_day objDay(*objLast);
  if (objDay.year() >= kBehindLast) return;
  SetEndDate({static_cast<int>(objDay.year()),
              static_cast<int>(static_cast<unsigned>(objDay.month())),
              static_cast<int>(static_cast<unsigned>(objDay.day())), 0, 0, 0});
}

bool Recurrence::HasOccurrence() const {
  const auto objFirst = Days().DayOf(0);
  const auto objEnd = EndDate();
  return objFirst && (!objEnd || *objFirst <= DayOf(*objEnd));
}

platform::SeriesDays Recurrence::Days() const {
  using Unit = platform::SeriesDays::Unit;
  platform::SeriesDays objDays;
  const Pattern& obj = m_objPattern;
  const bool bMonths = obj.nDayOfMonth || obj.eIndex;
  objDays.eUnit = bMonths ? Unit::kMonth : obj.arrDays.empty() ? Unit::kDay : Unit::kWeek;
  objDays.nInterval = obj.eMonth ? 12 : obj.nInterval.value_or(1);
  for (const DayOfTheWeek eDay : obj.arrDays) objDays.nWeekdays |= WeekdayBits(eDay);
  if (obj.eFirst) objDays.objFirstOfWeek = std::chrono::weekday(static_cast<unsigned>(*obj.eFirst));
  objDays.nDayOfMonth = static_cast<unsigned>(obj.nDayOfMonth.value_or(0));
  objDays.nPlace = static_cast<size_t>(obj.eIndex.value_or(DayOfTheWeekIndex::First));
  if (obj.eMonth) objDays.objMonth = std::chrono::month(static_cast<unsigned>(MonthOfYear()));
  objDays.objFirst = DayOf(m_dtStart);
  return objDays;
}

Month Recurrence::MonthOfYear() const {
  const Month eMonth = m_objPattern.eMonth.value_or(Month{});
  return IsMonth(eMonth) ? eMonth : static_cast<Month>(m_dtStart.GetMonth());
}

void Recurrence::WriteTo(SoapWriter& objWriter, DayFormat fnDay) const {
  WritePattern(objWriter);
  WriteRange(objWriter, fnDay);
}

void Recurrence::WritePattern(SoapWriter& objWriter) const {
  objWriter.Start(kTypes, m_objPattern.strElement);
  if (m_objPattern.nInterval) WriteNumber(objWriter, "Interval", *m_objPattern.nInterval);
  if (m_objPattern.nDayOfMonth) WriteNumber(objWriter, "DayOfMonth", *m_objPattern.nDayOfMonth);
  WriteDays(objWriter, m_objPattern.arrDays);
  if (m_objPattern.eFirst) {
    objWriter.Element(kTypes, "FirstDayOfWeek", WireName(*m_objPattern.eFirst));
  }
  if (m_objPattern.eIndex) {
    objWriter.Element(kTypes, "DayOfWeekIndex", WireName(*m_objPattern.eIndex));
  }
  if (m_objPattern.eMonth) {
    objWriter.Element(kTypes, "Month", WireName(MonthOfYear()));
  }
  objWriter.End();
}

void Recurrence::WriteRange(SoapWriter& objWriter, DayFormat fnDay) const {
  const auto objEnd = EndDate();
  const auto nNumber = NumberOfOccurrences();
  objWriter.Start(kTypes, objEnd    ? "EndDateRecurrence"
                          : nNumber ? "NumberedRecurrence"
                                    : "NoEndRecurrence");
  objWriter.Element(kTypes, "StartDate", std::string_view(fnDay(m_dtStart)));
  if (objEnd) objWriter.Element(kTypes, "EndDate", std::string_view(fnDay(*objEnd)));
  if (nNumber) WriteNumber(objWriter, "NumberOfOccurrences", *nNumber);
  objWriter.End();
}

}  // namespace ews
