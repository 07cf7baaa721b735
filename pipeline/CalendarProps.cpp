#include "pipeline/CalendarProps.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <string>

#include "ews/Appointment.h"
#include "ews/Task.h"
#include "pipeline/PropValues.h"
#include "platform/ZoneClock.h"

namespace {

using ews::Appointment;
using ews::DayOfTheWeek;
using ews::Recurrence;
using ews::Task;
using nlohmann::json;

constexpr std::array kDays{DayOfTheWeek::Sunday,    DayOfTheWeek::Monday,   DayOfTheWeek::Tuesday,
                           DayOfTheWeek::Wednesday, DayOfTheWeek::Thursday, DayOfTheWeek::Friday,
                           DayOfTheWeek::Saturday,  DayOfTheWeek::Day,      DayOfTheWeek::Weekday,
                           DayOfTheWeek::WeekendDay};
constexpr std::array kIndexes{ews::DayOfTheWeekIndex::First, ews::DayOfTheWeekIndex::Second,
                              ews::DayOfTheWeekIndex::Third, ews::DayOfTheWeekIndex::Fourth,
                              ews::DayOfTheWeekIndex::Last};
constexpr std::array kMonths{ews::Month::January, ews::Month::February, ews::Month::March,
                             ews::Month::April,   ews::Month::May,      ews::Month::June,
                             ews::Month::July,    ews::Month::August,   ews::Month::September,
                             ews::Month::October, ews::Month::November, ews::Month::December};
constexpr std::array kBusy{ews::LegacyFreeBusyStatus::Free, ews::LegacyFreeBusyStatus::Tentative,
                           ews::LegacyFreeBusyStatus::Busy, ews::LegacyFreeBusyStatus::OOF,
                           ews::LegacyFreeBusyStatus::WorkingElsewhere};
constexpr std::array kStatus{ews::TaskStatus::NotStarted, ews::TaskStatus::InProgress,
                             ews::TaskStatus::Completed, ews::TaskStatus::WaitingOnOthers,
                             ews::TaskStatus::Deferred};

// A member that is not there is null.
const json& At(const json& objJson, const char* pszName) {
  static const json objNone;
  const auto it = objJson.find(pszName);
  return it == objJson.end() ? objNone : *it;
}

// What the members of a series say, each nothing where it is wrong or missing.
struct SeriesParts {
  explicit SeriesParts(const json& objJson)
      : dtStart(PropDay(At(objJson, "start"))),
        nInterval(objJson.contains("interval") ? PropNumber(At(objJson, "interval"), 1, INT_MAX)
                                               : 1),
        nDayOfMonth(PropNumber(At(objJson, "dayOfMonth"), 1, 31)),
        eIndex(PropChoice(At(objJson, "index"), kIndexes)),
        eMonth(PropChoice(At(objJson, "month"), kMonths)),
        eFirst(objJson.contains("firstDay") ? PropChoice(At(objJson, "firstDay"), kDays)
                                            : DayOfTheWeek::Sunday) {
    for (const json& objDay : At(objJson, "days")) {
      const auto eDay = PropChoice(objDay, kDays);
      if (!eDay) bDays = false;
      if (eDay && std::ranges::find(arrDays, *eDay) == arrDays.end()) arrDays.push_back(*eDay);
    }
    bDays = bDays && !arrDays.empty();
  }
  bool IsWeekly() const {
    return bDays && std::ranges::all_of(arrDays, &ews::IsOneDay) && eFirst && IsOneDay(*eFirst);
  }
  bool IsRelative() const { return bDays && arrDays.size() == 1 && eIndex; }

  std::optional<COleDateTime> dtStart;
  std::optional<int> nInterval;
  std::optional<int> nDayOfMonth;
  std::optional<ews::DayOfTheWeekIndex> eIndex;
  std::optional<ews::Month> eMonth;
  std::optional<DayOfTheWeek> eFirst;
  std::vector<DayOfTheWeek> arrDays;
  bool bDays = true;
};

std::optional<Recurrence> PatternOf(const json& objPattern, const SeriesParts& obj) {
  if (!obj.dtStart || !obj.nInterval) return std::nullopt;
  const bool bYearly = *obj.nInterval == 1 && obj.eMonth;  // every year is the only way there is
  if (objPattern == "daily") return Recurrence::DailyPattern(*obj.dtStart, *obj.nInterval);
  if (objPattern == "weekly" && obj.IsWeekly()) {
    return Recurrence::WeeklyPattern(*obj.dtStart, *obj.nInterval, obj.arrDays, *obj.eFirst);
  }
  if (objPattern == "monthly" && obj.nDayOfMonth) {
    return Recurrence::MonthlyPattern(*obj.dtStart, *obj.nInterval, *obj.nDayOfMonth);
  }
  if (objPattern == "relativeMonthly" && obj.IsRelative()) {
    return Recurrence::RelativeMonthlyPattern(*obj.dtStart, *obj.nInterval, obj.arrDays.front(),
                                              *obj.eIndex);
  }
  if (objPattern == "yearly" && bYearly && obj.nDayOfMonth) {
    return Recurrence::YearlyPattern(*obj.dtStart, *obj.eMonth, *obj.nDayOfMonth);
  }
  if (objPattern == "relativeYearly" && bYearly && obj.IsRelative()) {
    return Recurrence::RelativeYearlyPattern(*obj.dtStart, *obj.eMonth, obj.arrDays.front(),
                                             *obj.eIndex);
  }
  return std::nullopt;
}

bool SetEnd(const json& objJson, Recurrence& objSeries) {
  const bool bEnd = objJson.contains("end");
  const bool bCount = objJson.contains("count");
  if (!bEnd && !bCount) return true;
  const auto dtEnd = PropDay(At(objJson, "end"));
  const auto nCount = PropNumber(At(objJson, "count"), 1, INT_MAX);
  if (bEnd && bCount) return false;
  if (nCount) objSeries.SetNumberOfOccurrences(*nCount);
  if (dtEnd && dtEnd->Value() < objSeries.StartDate().Value()) return false;
  if (dtEnd) objSeries.SetEndDate(*dtEnd);
  return nCount || dtEnd;
}

template <typename Target>
bool TakeSeries(const json& objValue, Target& objItem) {
  if (!objValue.is_object()) return false;
  auto objSeries = PatternOf(At(objValue, "pattern"), SeriesParts(objValue));
  if (!objSeries || !SetEnd(objValue, *objSeries)) return false;
  objItem.SetRecurrence(std::move(objSeries));
  return true;
}

bool TakeBusy(const json& objValue, Appointment& objItem) {
  const auto eStatus = PropChoice(objValue, kBusy);
  if (eStatus) objItem.SetFreeBusy(*eStatus);
  return eStatus.has_value();
}

bool TakeReminder(const json& objValue, Appointment& objItem) {
  const auto nMinutes = PropNumber(objValue, 0, ews::kMostReminderMinutes);
  if (nMinutes) objItem.SetReminderMinutes(*nMinutes);
  if (objValue == false) objItem.SetNoReminder();
  return nMinutes || objValue == false;
}

bool TakeAttendee(const json& objPerson, Appointment& objItem) {
  if (!objPerson.is_object()) return false;
  const auto strAddress = PropText(At(objPerson, "address"));
  if (!strAddress) return false;
  const json& objRole = At(objPerson, "role");
  auto& objList = objRole == "optional"   ? objItem.OptionalAttendees()
                  : objRole == "resource" ? objItem.Resources()
                                          : objItem.RequiredAttendees();
  objList.Add(ews::EmailAddress(PropText(At(objPerson, "name")).value_or(CString()), *strAddress));
  return true;
}

bool TakeAttendees(const json& objValue, Appointment& objItem) {
  if (!objValue.is_array()) return false;
  bool bAll = true;
  for (const json& objPerson : objValue) bAll = TakeAttendee(objPerson, objItem) && bAll;
  return bAll;
}

bool TakeStatus(const json& objValue, Task& objTask) {
  const auto eStatus = PropChoice(objValue, kStatus);
  if (eStatus) objTask.SetStatus(*eStatus);
  return eStatus.has_value();
}

bool TakePercent(const json& objValue, Task& objTask) {
  const auto nPercent = PropNumber(objValue, 0, 100);
  if (nPercent) objTask.SetPercentComplete(*nPercent);
  return nPercent.has_value();
}

bool TakeCompleted(const json& objValue, Task& objTask) {
  const auto objTime = PropMoment(objValue);
  if (objTime) objTask.SetCompleteDate(*objTime);
  return objTime.has_value();
}

bool TakeReminderTime(const json& objValue, Task& objTask) {
  const auto objTime = PropMoment(objValue);
  if (objTime) objTask.SetReminderTime(*objTime);
  return objTime.has_value();
}

constexpr std::array<PropMember<Appointment>, 3> kAppointmentMembers{{
    {"busy", &TakeBusy},
    {"reminder", &TakeReminder},
    {"attendees", &TakeAttendees},
}};

constexpr std::array<PropMember<Task>, 5> kTaskMembers{{
    {"series", &TakeSeries<Task>},
    {"status", &TakeStatus},
    {"percent", &TakePercent},
    {"completed", &TakeCompleted},
    {"reminderTime", &TakeReminderTime},
}};

std::chrono::sys_days DayOf(const COleDateTime& dt) {
  return std::chrono::year(dt.GetYear()) / dt.GetMonth() / dt.GetDay();
}

COleDateTime MidnightOf(std::chrono::sys_days objDay) {
  const std::chrono::year_month_day obj(objDay);
  return {static_cast<int>(obj.year()),
          static_cast<int>(static_cast<unsigned>(obj.month())),
          static_cast<int>(static_cast<unsigned>(obj.day())),
          0,
          0,
          0};
}

// The service keeps whole days from midnight to midnight, of the zone of the request. A clock
// behind midnight is within the last day.
bool TakeAllDay(const json& objJson, Appointment& objItem) {
  if (!At(objJson, "allDay").is_boolean()) return false;
  if (At(objJson, "allDay") == false) return true;
  auto dtStart = PropWallClock(At(objJson, "start"));
  auto dtEnd = PropWallClock(At(objJson, "end"));
  if (!dtStart) dtStart = objItem.Start();
  if (!dtEnd) dtEnd = objItem.End();
  if (!dtStart) return false;
  const auto objFirst = DayOf(*dtStart);
  auto objBehind = objFirst + std::chrono::days(1);
  if (dtEnd) {
    const bool bWithin = dtEnd->GetHour() + dtEnd->GetMinute() + dtEnd->GetSecond() > 0;
    objBehind = std::max(objBehind, DayOf(*dtEnd) + std::chrono::days(bWithin ? 1 : 0));
  }
  const COleDateTime dtBehind = MidnightOf(objBehind);
  if (dtBehind.GetStatus() != COleDateTime::valid) return false;
  objItem.SetAllDay(true);
  objItem.SetStart(MidnightOf(objFirst));
  objItem.SetEnd(dtBehind);
  return true;
}

// The days of a series by the descriptor are those of the machine's zone.
bool TakeZone(const json& objJson, bool bOwnSeries, Appointment& objItem) {
  const json& objZone = At(objJson, "zone");
  if (!objZone.is_string()) return false;
  const std::string& strZone = objZone.get_ref<const std::string&>();
  if (!platform::ZoneClock::OfWindows(strZone)) return false;
  if (bOwnSeries || !objItem.IsRecurring()) objItem.SetTimeZone(strZone);
  return true;
}

}  // namespace

void ApplyAppointmentProps(const json& objJson, Appointment& objItem,
                           std::vector<CString>& arrNotes) {
  TakeProps(kAppointmentMembers, objJson, objItem, arrNotes);
  const auto Take = [&](const char* pszName, auto fnTake) {
    if (!objJson.contains(pszName)) return false;
    const bool bTaken = fnTake();
    if (!bTaken) NoteWrongProp(arrNotes, pszName);
    return bTaken;
  };
  const bool bOwnSeries = Take("series", [&] { return TakeSeries(objJson["series"], objItem); });
  (void)Take("allDay", [&] { return TakeAllDay(objJson, objItem); });
  if (At(objJson, "allDay") == true) return;  // its days are the same in every zone
  (void)Take("zone", [&] { return TakeZone(objJson, bOwnSeries, objItem); });
}

void ApplyTaskProps(const json& objJson, Task& objTask, std::vector<CString>& arrNotes) {
  TakeProps(kTaskMembers, objJson, objTask, arrNotes);
}
