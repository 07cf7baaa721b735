#pragma once

#include "base/CkString.h"
#include "platform/CString.h"

// A text of the engine as the mail library takes it. Its narrow form, in which the library takes
// paths too, is ANSI text: one that has other characters names no file there.
inline CkString LibraryText(const CString& str) {
  CkString strText;
  strText.setStringU(str.GetString());
  return strText;
}
