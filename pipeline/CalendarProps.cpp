#include "pipeline/CalendarProps.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <set>
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
constexpr std::array<std::u16string_view, 3> kAnswers{u"accepted", u"declined", u"tentative"};
constexpr std::u16string_view kAnswersName = u"TarnyAnswers";
constexpr std::array kStatus{ews::TaskStatus::NotStarted, ews::TaskStatus::InProgress,
                             ews::TaskStatus::Completed, ews::TaskStatus::WaitingOnOthers,
                             ews::TaskStatus::Deferred};

// What the members of a series say, each nothing where it is wrong or missing.
struct SeriesParts {
  explicit SeriesParts(const json& objJson)
      : dtStart(PropDay(PropAt(objJson, "start"))),
        nInterval(objJson.contains("interval") ? PropNumber(PropAt(objJson, "interval"), 1, INT_MAX)
                                               : 1),
        nDayOfMonth(PropNumber(PropAt(objJson, "dayOfMonth"), 1, 31)),
        eIndex(PropChoice(PropAt(objJson, "index"), kIndexes)),
        eMonth(PropChoice(PropAt(objJson, "month"), kMonths)),
        eFirst(objJson.contains("firstDay") ? PropChoice(PropAt(objJson, "firstDay"), kDays)
                                            : DayOfTheWeek::Sunday) {
    for (const json& objDay : PropAt(objJson, "days")) {
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
  if (!bEnd && !bCount) return objSeries.MakeAcceptable();
  const auto dtEnd = PropDay(PropAt(objJson, "end"));
  const auto nCount = PropNumber(PropAt(objJson, "count"), 1, INT_MAX);
  if (bEnd && bCount) return false;
  if (nCount) objSeries.SetNumberOfOccurrences(*nCount);
  if (dtEnd) objSeries.SetEndDate(*dtEnd);
  return (nCount || dtEnd) && objSeries.MakeAcceptable();
}

template <typename Target>
bool TakeSeries(const json& objValue, Target& objItem) {
  if (!objValue.is_object()) return false;
  auto objSeries = PatternOf(PropAt(objValue, "pattern"), SeriesParts(objValue));
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
  const auto strAddress = PropText(PropAt(objPerson, "address"));
  if (!strAddress) return false;
  const json& objRole = PropAt(objPerson, "role");
  auto& objList = objRole == "optional"   ? objItem.OptionalAttendees()
                  : objRole == "resource" ? objItem.Resources()
                                          : objItem.RequiredAttendees();
  objList.Add(
      ews::EmailAddress(PropText(PropAt(objPerson, "name")).value_or(CString()), *strAddress));
  return true;
}

// "bob@example.com: accepted"; empty for someone who has not answered.
CString AnswerOf(const json& objPerson) {
  if (!objPerson.is_object()) return {};
  const auto strAddress = PropText(PropAt(objPerson, "address"));
  const auto strAnswer = PropText(PropAt(objPerson, "answer"));
  if (!strAddress || !strAnswer) return {};
  if (std::ranges::find(kAnswers, strAnswer->View()) == kAnswers.end()) return {};
  return *strAddress + u": " + *strAnswer;
}

bool TakeAttendees(const json& objValue, Appointment& objItem) {
  if (!objValue.is_array()) return false;
  bool bAll = true;
  CString strAnswers;
  for (const json& objPerson : objValue) {
    bAll = TakeAttendee(objPerson, objItem) && bAll;
    const CString strAnswer = AnswerOf(objPerson);
    if (!strAnswer.IsEmpty() && !strAnswers.IsEmpty()) strAnswers += u"\n";
    strAnswers += strAnswer;
  }
  // The service keeps the list of answers to itself.
  if (!strAnswers.IsEmpty()) {
    objItem.SetExtendedProperty(ews::ExtendedPropertyDefinition::PublicString(kAnswersName),
                                strAnswers);
  }
  return bAll;
}

// The service names the mailbox's owner where nothing is said.
bool TakeOrganizer(const json& objValue, Appointment& objItem) {
  constexpr int kName = 0x0042;
  constexpr int kAddressType = 0x0064;
  constexpr int kAddress = 0x0065;
  if (!objValue.is_object()) return false;
  const auto strAddress = PropText(PropAt(objValue, "address"));
  if (!strAddress) return false;
  const auto Set = [&](int nTag, const CString& strText) {
    objItem.SetExtendedProperty({nTag, ews::MapiPropertyType::String}, strText);
  };
  Set(kName, PropText(PropAt(objValue, "name")).value_or(*strAddress));
  Set(kAddressType, u"SMTP");
  Set(kAddress, *strAddress);
  return true;
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

constexpr std::array<PropMember<Appointment>, 4> kAppointmentMembers{{
    {"organizer", &TakeOrganizer},
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
  if (!PropAt(objJson, "allDay").is_boolean()) return false;
  if (PropAt(objJson, "allDay") == false) return true;
  auto dtStart = PropWallClock(PropAt(objJson, "start"));
  auto dtEnd = PropWallClock(PropAt(objJson, "end"));
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
  const json& objZone = PropAt(objJson, "zone");
  if (!objZone.is_string()) return false;
  const std::string& strZone = objZone.get_ref<const std::string&>();
  if (!platform::ZoneClock::OfWindows(strZone)) return false;
  if (bOwnSeries || !objItem.IsRecurring()) objItem.SetTimeZone(strZone);
  return true;
}

// The moment that a clock of the appointment's zone shows so.
std::optional<ews::UtcTime> MomentOf(const json& objValue, const Appointment& objItem) {
  const auto dt = PropWallClock(objValue);
  if (!dt) return std::nullopt;
  const auto objClock = platform::ZoneClock::OfWindows(objItem.TimeZone());
  if (!objClock) return ews::UtcTime{platform::LocalToUtcSeconds(*dt)};
  const std::chrono::sys_seconds objWall = DayOf(*dt) + std::chrono::hours(dt->GetHour()) +
                                           std::chrono::minutes(dt->GetMinute()) +
                                           std::chrono::seconds(dt->GetSecond());
  const std::int64_t nUtc = objClock->ToUtc(objWall.time_since_epoch().count());
  constexpr std::int64_t kYear10000 = 253402300800;
  return nUtc < kYear10000 ? std::optional(ews::UtcTime{nUtc}) : std::nullopt;
}

// Which occurrence of the series starts so; the day alone counts.
std::optional<std::int64_t> IndexOf(const json& objValue, Appointment& objItem) {
  const auto dt = PropWallClock(objValue);
  return dt ? objItem.Recurrence().IndexOn(*dt) : std::nullopt;
}

bool TakeDeleted(const json& objValue, Appointment& objItem) {
  if (!objValue.is_array()) return false;
  std::set<std::int64_t> setIndexes;
  bool bAll = true;
  for (const json& objStart : objValue) {
    const auto nIndex = IndexOf(objStart, objItem);
    if (nIndex) setIndexes.insert(*nIndex);
    bAll = bAll && nIndex;
  }
  objItem.Occurrences().arrDeleted.assign(setIndexes.begin(), setIndexes.end());
  return bAll;
}

bool TakeOneChange(const json& objValue, Appointment& objItem) {
  if (!objValue.is_object()) return false;
  const auto nIndex = IndexOf(PropAt(objValue, "original"), objItem);
  if (!nIndex) return false;
  // A text may have been taken away.
  const auto Text = [&](const char* pszName) {
    const json& objText = PropAt(objValue, pszName);
    return objText == "" ? std::optional(CString()) : PropText(objText);
  };
  ews::OccurrenceChange objChange{
      .nIndex = *nIndex,
      .objStart = MomentOf(PropAt(objValue, "start"), objItem),
      .objEnd = MomentOf(PropAt(objValue, "end"), objItem),
      .strSubject = Text("subject"),
      .strLocation = Text("location"),
      .eFreeBusy = PropChoice(PropAt(objValue, "busy"), kBusy),
      .nReminderMinutes = PropNumber(PropAt(objValue, "reminder"), 0, ews::kMostReminderMinutes)};
  if (const auto strBody = Text("body")) {
    objChange.objBody = ews::MessageBody(ews::BodyType::Text, *strBody);
  }
  const bool bWhole = objChange.objStart && objChange.objEnd &&
                      objChange.objEnd->nSeconds >= objChange.objStart->nSeconds;
  if (!bWhole) objChange.objStart = objChange.objEnd = std::nullopt;
  if (!objChange.IsEmpty()) objItem.Occurrences().arrChanged.push_back(std::move(objChange));
  return bWhole;
}

bool TakeChanged(const json& objValue, Appointment& objItem) {
  if (!objValue.is_array()) return false;
  bool bAll = true;
  for (const json& objOne : objValue) bAll = TakeOneChange(objOne, objItem) && bAll;
  const auto& arrDeleted = objItem.Occurrences().arrDeleted;
  std::erase_if(objItem.Occurrences().arrChanged, [&](const ews::OccurrenceChange& objOne) {
    return std::ranges::binary_search(arrDeleted, objOne.nIndex);
  });
  return bAll;
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
  // The days of what lasts whole days are the same in every zone.
  const bool bInZone = PropAt(objJson, "allDay") != true;
  if (bInZone) (void)Take("zone", [&] { return TakeZone(objJson, bOwnSeries, objItem); });
  const auto TakeOccurrences = [&](const char* pszName, auto fnTake) {
    (void)Take(pszName, [&] { return bOwnSeries && fnTake(objJson[pszName], objItem); });
  };
  TakeOccurrences("deleted", &TakeDeleted);
  TakeOccurrences("changed", &TakeChanged);
}

void ApplyTaskProps(const json& objJson, Task& objTask, std::vector<CString>& arrNotes) {
  TakeProps(kTaskMembers, objJson, objTask, arrNotes);
}
