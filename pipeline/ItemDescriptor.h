#pragma once

#include <cstdint>

#include "pipeline/ST_EML_INFO.h"
#include "platform/COleDateTime.h"
#include "platform/CString.h"

// clang-format off
// The descriptor of an item, "11comtextjj.t" in the work folder: lines of 16-bit little-endian
// units that end at U+000A; CR before it is dropped, except in line 2 and the body. The first ten
// lines are the same for all types:
//
//   line  holds                      label               notes
//      1  type                                           holds EMAIL, CALENDAR, TASK, CONTACT or
//                                                        DIST_LIST; the first of these that occurs
//      2  importance                                     1 high, 2 normal, 3 low; ended by LF alone
//      3  creation date              "Creation Date : "  local time, best as 2024-03-31 13:05:00
//      4  unread                                         TRUE, else the item counts as read
//      5  sender                     "From : "
//      6  recipients                 "To : "             each but the last ended by ";"
//      7  copies                     "CC : "
//      8  blind copies               "Bcc : "
//      9  subject                    "Subject : "
//     10  message id, the ledger key "MessageID : "      none: never known, never in the ledger
//
// What follows depends on the type. The body is all that is left, joined without line ends; its
// label is "Body : ".
//
//   type      line  holds                label
//   EMAIL      11…  body                 "Body : "
//   CALENDAR    10  blank
//               11  start                "StartDate:"
//               12  end                  "EndDate:"
//               13  location             "Location : "
//               14  category
//               15  recurrence
//              16…  body                 "Body : "
//   TASK        10  blank
//               11  start                "StartDate:"
//               12  due                  "DueDate:"
//               13  category
//               14  priority
//               15  recurrence
//               16  more fields
//              17…  body                 "Body : "
//   CONTACT     11  folder
//            12, 13 fields               any, and " : " behind it; <ITEM> and </ITEM> are dropped
//              14…  body                 "Body : "
//   DIST_LIST   10  members              "<ITEM>Group :"        these four need their label: a line
//               11  name                 "<ITEM>ListName :"     without it counts as empty; </ITEM>
//               12  description          "<ITEM>Description :"  is dropped
//               13  owner                "<ITEM>ListOwner :"
//              14…  body                 "Body : "
//
// Labels of other lines may be left out, and are removed wherever they occur in the line. Leave a
// line without a value EMPTY: lines are trimmed before the label is looked for, so that a label
// standing alone is taken for the value. "To : " is a mail to "To :", which a server refuses. With
// the safe switch a label alone is an empty line.
//
// Calendar and task have a second form, in which line 10 is not blank and everything from line 11
// on stands one line higher; the last header line is lost then, and the body stays where it was.
// Nothing here reports an error: what is missing is empty.
// clang-format on

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
// Seconds since 1970-01-01 UTC; the date counts as local time. What would become year 10000 stops
// at the last second before.
std::int64_t ToUniversalTime(const CivilDateTime& objDate);
