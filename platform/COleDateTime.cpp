#include "platform/COleDateTime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <ctime>

namespace {

namespace chrono = std::chrono;

constexpr chrono::sys_days kDayZero{chrono::year{1899} / 12 / 30};
constexpr int kSecondsADay = 86400;

constexpr std::array<std::u16string_view, 12> kMonths{
    u"January", u"February", u"March",     u"April",   u"May",      u"June",
    u"July",    u"August",   u"September", u"October", u"November", u"December"};
constexpr std::array<std::u16string_view, 7> kDays{u"Sunday",   u"Monday", u"Tuesday", u"Wednesday",
                                                   u"Thursday", u"Friday", u"Saturday"};

struct Parts {
  chrono::year_month_day objDate;
  unsigned nWeekday = 0;  // 0 is Sunday
  int nSecondOfDay = 0;
};

// The fraction counts forward in time on both sides of day 0: -1.25 is six o'clock on the day
// before it.
Parts PartsOf(double dValue) {
  const double dDay = std::trunc(dValue);
  const chrono::sys_days objDay = kDayZero + chrono::days(static_cast<int>(dDay));
  const auto nSecond = static_cast<int>(std::lround(std::fabs(dValue - dDay) * kSecondsADay));
  return {objDay, chrono::weekday(objDay).c_encoding(), nSecond};
}

CString Digits(int nValue, int nWidth) {
  CString strDigits;
  for (int i = 0; i < nWidth; ++i, nValue /= 10) {
    strDigits.Insert(0, CString(static_cast<char16_t>(u'0' + nValue % 10)));
  }
  return strDigits;
}

CString FormatField(char16_t ch, const COleDateTime& dt) {
  const auto& strMonth = kMonths[static_cast<size_t>(dt.GetMonth() - 1)];
  const auto& strDay = kDays[static_cast<size_t>(dt.GetDayOfWeek() - 1)];
  switch (ch) {
    case u'A':
      return strDay;
    case u'a':
      return strDay.substr(0, 3);
    case u'B':
      return strMonth;
    case u'b':
      return strMonth.substr(0, 3);
    case u'd':
      return Digits(dt.GetDay(), 2);
    case u'm':
      return Digits(dt.GetMonth(), 2);
    case u'Y':
      return Digits(dt.GetYear(), 4);
    case u'y':
      return Digits(dt.GetYear(), 2);
    case u'H':
      return Digits(dt.GetHour(), 2);
    case u'M':
      return Digits(dt.GetMinute(), 2);
    case u'S':
      return Digits(dt.GetSecond(), 2);
    default:
      return CString(ch);  // %% among them
  }
}

long OffsetAt(std::int64_t nUtc) {
  const auto nTime = static_cast<std::time_t>(nUtc);
  std::tm objLocal{};
  return localtime_r(&nTime, &objLocal) ? objLocal.tm_gmtoff : 0;
}

}  // namespace

COleDateTime::COleDateTime(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond)
    : m_eStatus(invalid) {
  if (nYear < 100 || nYear > 9999 || nMonth < 1 || nMonth > 12 || nDay < 1 || nDay > 31) return;
  if (nHour < 0 || nHour > 23 || nMinute < 0 || nMinute > 59 || nSecond < 0 || nSecond > 59) return;
  const chrono::year_month_day objDate(chrono::year(nYear),
                                       chrono::month(static_cast<unsigned>(nMonth)),
                                       chrono::day(static_cast<unsigned>(nDay)));
  if (!objDate.ok()) return;
  const auto nDays = (chrono::sys_days(objDate) - kDayZero).count();
  const double dTime = (nHour * 3600 + nMinute * 60 + nSecond) / double{kSecondsADay};
  m_dValue = nDays < 0 ? nDays - dTime : nDays + dTime;
  m_eStatus = valid;
}

COleDateTime COleDateTime::Invalid() {
  COleDateTime dt;
  dt.m_eStatus = invalid;
  return dt;
}

COleDateTime COleDateTime::GetCurrentTime() {
  return platform::UtcSecondsToLocal(std::time(nullptr));
}

int COleDateTime::GetYear() const {
  return m_eStatus == valid ? static_cast<int>(PartsOf(m_dValue).objDate.year()) : -1;
}

int COleDateTime::GetMonth() const {
  if (m_eStatus != valid) return -1;
  return static_cast<int>(static_cast<unsigned>(PartsOf(m_dValue).objDate.month()));
}

int COleDateTime::GetDay() const {
  if (m_eStatus != valid) return -1;
  return static_cast<int>(static_cast<unsigned>(PartsOf(m_dValue).objDate.day()));
}

int COleDateTime::GetHour() const {
  return m_eStatus == valid ? PartsOf(m_dValue).nSecondOfDay / 3600 : -1;
}

int COleDateTime::GetMinute() const {
  return m_eStatus == valid ? PartsOf(m_dValue).nSecondOfDay / 60 % 60 : -1;
}

int COleDateTime::GetSecond() const {
  return m_eStatus == valid ? PartsOf(m_dValue).nSecondOfDay % 60 : -1;
}

int COleDateTime::GetDayOfWeek() const {
  return m_eStatus == valid ? static_cast<int>(PartsOf(m_dValue).nWeekday) + 1 : -1;
}

CString COleDateTime::Format(std::u16string_view strFormat) const {
  CString strResult;
  if (m_eStatus != valid) return strResult;
  for (size_t i = 0; i < strFormat.size(); ++i) {
    if (strFormat[i] == u'%' && i + 1 < strFormat.size()) {
      strResult += FormatField(strFormat[++i], *this);
    } else {
      strResult += strFormat[i];
    }
  }
  return strResult;
}

namespace platform {

COleDateTime UtcSecondsToLocal(std::int64_t nUtc) {
  const auto nTime = static_cast<std::time_t>(nUtc);
  tzset();
  std::tm objLocal{};
  if (!localtime_r(&nTime, &objLocal)) return COleDateTime::Invalid();
  return {objLocal.tm_year + 1900, objLocal.tm_mon + 1, objLocal.tm_mday,
          objLocal.tm_hour,        objLocal.tm_min,     objLocal.tm_sec % 60};
}

// The offsets a day before and a day after bracket a change of the clock. The smaller one is the
// standard offset of the two: it answers for the hour that occurs twice and for the one that is
// skipped. Zones whose summer is called standard time are read alike, as users of theirs expect.
std::int64_t LocalToUtcSeconds(const COleDateTime& dt) {
  const chrono::sys_days objDay{chrono::year(dt.GetYear()) /
                                chrono::month(static_cast<unsigned>(dt.GetMonth())) /
                                chrono::day(static_cast<unsigned>(dt.GetDay()))};
  const std::int64_t nWall = std::int64_t{objDay.time_since_epoch().count()} * kSecondsADay +
                             dt.GetHour() * 3600 + dt.GetMinute() * 60 + dt.GetSecond();
  tzset();
  const long nBefore = OffsetAt(nWall - kSecondsADay);
  const long nAfter = OffsetAt(nWall + kSecondsADay);
  const long nStandard = std::min(nBefore, nAfter);
  const long nOther = std::max(nBefore, nAfter);
  if (OffsetAt(nWall - nStandard) == nStandard) return nWall - nStandard;
  if (OffsetAt(nWall - nOther) == nOther) return nWall - nOther;
  return nWall - nStandard;
}

}  // namespace platform
