#pragma once

#include <functional>

#include "platform/CString.h"

// The status line of an item, from what its import returned and the text it left in strErr. Where
// the server refused an address, fnRetry imports the item once more with its addresses cleaned up;
// nResult and strErr are then the second attempt's, and a first text stays unless another is set.
// Empty for a failure that is not reported as one. Throws what fnRetry throws.
CString ItemStatusLine(int& nResult, CString& strErr, const std::function<int(CString&)>& fnRetry);

// The line of a failure with that text.
CString FailureStatusLine(const CString& strErr);
