#pragma once

#include "platform/CString.h"

// Paths of folders as commands name them: levels in the source's names, each ended by a backslash.
//
//   "($Inbox)\\Projects\\"   two levels: "Inbox" in the target, and "Projects" below it
//   "($Inbox)\\Projects"    one level: what no backslash closes does not count

int getTotCountSlash(const CString& foldername);           // levels; 0 for a backslash in front
CString GetNameBySlash(const CString& foldername, int i);  // from 0; "" if there is no such level
CString UpdateName(const CString& sItem);                  // the name in the target
