#pragma once

#include <cstdint>

#include "platform/CString.h"

// A date as a count of days since 30 December 1899 with the time of day as its fraction, and a
// status. Local time unless a caller says otherwise; whole seconds. A consumer tests the status
// before it uses the date: an invalid date has -1 for every component and formats as "".
class COleDateTime {
 public:
  enum DateTimeStatus { valid = 0, invalid = 1 };

  COleDateTime() = default;  // 0.0, valid
  // Invalid when the components are no date from year 100 to 9999.
  COleDateTime(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond);
  static COleDateTime Invalid();
  static COleDateTime GetCurrentTime();  // local

  DateTimeStatus GetStatus() const { return m_eStatus; }
  void SetStatus(DateTimeStatus eStatus) { m_eStatus = eStatus; }
  double Value() const { return m_dValue; }
  int GetYear() const;
  int GetMonth() const;  // 1 to 12
  int GetDay() const;    // 1 to 31
  int GetHour() const;
  int GetMinute() const;
  int GetSecond() const;
  int GetDayOfWeek() const;  // 1 is Sunday

  // %A %a %B %b %d %m %Y %y %H %M %S %%, names in English.
  CString Format(std::u16string_view strFormat) const;

 private:
  double m_dValue = 0.0;
  DateTimeStatus m_eStatus = valid;
};

namespace platform {

// Reads a date text as the user's locale writes it, or ISO 8601. Parts that make no date in the
// locale's order are tried in others, and a missing year is this one (platform/DateText.cpp says
// which); anything else is invalid.
COleDateTime ParseDateText(std::u16string_view strText);

// The local wall-clock date of a time in seconds since 1970-01-01 UTC; invalid if there is none.
COleDateTime UtcSecondsToLocal(std::int64_t nUtc);

// Seconds since 1970-01-01 UTC for a local wall-clock date: an hour that occurs twice counts as
// standard time, one that is skipped is read with the standard offset. The date must be valid.
std::int64_t LocalToUtcSeconds(const COleDateTime& dt);

}  // namespace platform
