#pragma once

#include <cstdint>

#include "pipeline/ST_EML_INFO.h"
#include "platform/COleDateTime.h"
#include "platform/CString.h"

// The descriptor of an item, "11comtextjj.t" in the work folder: lines of 16-bit little-endian
// units that end at U+000A. Ten lines are the same for all types: type keyword, importance,
// creation date, unread mark, From, To, CC, Bcc, Subject, message id. What follows depends on the
// type:
//
//   mail       11 body…
//   calendar   10 blank, 11 start, 12 end, 13 location, 14 category, 15 recurrence, 16 body…
//   task       10 blank, 11 start, 12 due, 13 category, 14 priority, 15 recurrence, 16 extra, 17
//   body… contact    11 folder, 12 and 13 tagged values, 14 body… list       10 group, 11 name, 12
//   description, 13 owner, 14 body…
//
// Calendar and task have a second form, in which line 10 is not blank and everything from line 11
// on stands one line higher; the last header line is lost then, and the body stays where it was.
// Nothing here reports an error: what is missing is empty.

inline constexpr std::u16string_view kDescriptorFile = u"11comtextjj.t";

// Reads the descriptor of the work folder that GetCurrPath names.
void GetEmlInfo(ST_EML_INFO* p_ST_EML_INFO);
// The same for a descriptor of any path (in Windows form).
void ReadDescriptor(const CString& strPath, ST_EML_INFO* p_ST_EML_INFO);

// The item type of a first line, by the first keyword in the order EMAIL, CALENDAR, TASK, CONTACT,
// DIST_LIST that occurs in it.
int GetEmlType(CString str);
// "Creation Date : " is removed first; the rest is read as the user's locale writes dates.
COleDateTime ConvertToDate(CString str);
// str without any strOne, trimmed.
CString GetProperStr(CString strOne, CString str);
// str without any CR and LF, trimmed; no path separator is meant.
CString RemoveSlash(CString str);
// Splits at the first " : "; both outputs are empty when there is none.
void SaprateFields(CString strCon, CString& strField, CString& strFieldInfo);  // sic
// False if "UNREAD" occurs.
bool ConvertToBool(CString str);

// A wall-clock date without a time zone.
struct CivilDateTime {
  int nYear = 1;   // 1 to 9999
  int nMonth = 1;  // 1 to 12
  int nDay = 1;    // 1 to 31
  int nHour = 0;
  int nMinute = 0;
  int nSecond = 0;
  bool operator==(const CivilDateTime&) const = default;
};

// Builds the date up from 0001-01-01 by days, months, years in this order, so that 29 February
// comes out as 28 February; with the safe switch on it stays. Throws std::out_of_range for a date
// whose status is invalid.
CivilDateTime GetDateTime(COleDateTime value);
// Seconds since 1970-01-01 UTC; the date counts as local time.
std::int64_t ToUniversalTime(const CivilDateTime& objDate);
