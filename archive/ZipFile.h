#pragma once

#include <string_view>

#include "base/DataBuffer.h"

namespace mail {

// A ZIP archive with one entry of that name (UTF-8) and content, appended to arrZip. False for want
// of memory and for a name that is no UTF-8.
bool zipOneFile(std::string_view strName, std::string_view strBytes, DataBuffer& arrZip);

}  // namespace mail
