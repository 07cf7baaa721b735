#pragma once

#include <cstdint>

#include "platform/COleDateTime.h"
#include "platform/CString.h"

// What nItemType says.
enum ItemType : std::int32_t {
  TYPE_UNKNOWN = -1,
  TYPE_EMAIL = 0,
  TYPE_CALENDER = 1,  // sic
  TYPE_TASK = 2,
  TYPE_CONTACT = 3,
  TYPE_DIST_LIST = 4,
};

// One item as its descriptor tells of it (see pipeline/ItemDescriptor.h). Texts are empty and dates
// are 0.0, valid, where the descriptor says nothing; a date text that could not be read is invalid.
struct ST_EML_INFO {
  std::int32_t nItemType = TYPE_UNKNOWN;
  COleDateTime dtCreationDate;  // delivery and submit time, local
  bool bRead = true;
  CString strImportance;  // "1" high, "2" normal, "3" low; as it stands in the file, a CR included
  CString strFrom;
  CString strTo;  // recipients separated by ";"; of a calendar item the required attendees
  CString strCc;
  CString strBcc;
  CString strSubject;
  CString strBody;  // plain or HTML text, or the tagged fields of a contact
  CString strCategory;
  CString strTaskPriority;  // "High", "Low" or "Normal"
  CString strLocation;
  COleDateTime dtStartDate;
  COleDateTime dtEndDate;
  COleDateTime dtDueDate;
  CString strContactInfo1;
  CString strContactInfo2;
  CString strRecurrence;
  CString strTaskExtra;
  CString strContactFolder;
  CString strMessageId;  // the item's key in the ledger; empty keeps it out of there
  CString strListName;
  CString strGroup;  // members, separated by ";"
  CString strListOwner;
  CString strListDescription;
};
