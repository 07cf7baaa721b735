#pragma once

#include "platform/CString.h"

// The class of the last level of a path in a local store: three names in any case, then the number
// of the folder's type. bChangeViewOfCalender: a calendar is a folder of mail.
//
// kept: unlike that of a server (ews/FolderNameTable.h), it has mail for the types 3 and 4.
CString GetFolderTypeGroupwise(const CString& strName, int nType, bool bChangeViewOfCalender);
