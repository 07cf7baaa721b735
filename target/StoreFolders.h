#pragma once

#include "platform/CString.h"
#include "target/RdoWrappers.h"

// The class of the last level of a path in a local store: three names in any case, then the number
// of the folder's type. bChangeViewOfCalender: a calendar is a folder of mail.
//
// kept: unlike that of a server (ews/FolderNameTable.h), it has mail for the types 3 and 4.
CString GetFolderTypeGroupwise(const CString& strName, int nType, bool bChangeViewOfCalender);

// The first folder of the list that has the name of a level, in any case; empty where there is
// none. Throws what the store throws.
IRDOFolder FindFolder(const CString& strLevel, const IRDOFolders& objFolders);
