#pragma once

#include "platform/CString.h"

namespace platform {

// Tells on standard error that a file could not be opened, once for each file and reason. nError is
// an errno. The work goes on.
void TellFileError(const CString& strPath, int nError);

}  // namespace platform
