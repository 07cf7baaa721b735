#pragma once

#include <optional>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/XString.h"
#include "platform/Files.h"

namespace mail {

// Whole files by a path that came as narrow text. Its bytes are ANSI text first; a path that leads
// nowhere so is tried as the bytes of a name on this system.

// Replaces arrBytes by the bytes of the file. False, and no bytes, when it is no regular file,
// cannot be read, or is too large for a buffer.
bool readWholeFile(XString& strPath, DataBuffer& arrBytes);
// Creates or empties the file, for writing; nothing when that cannot be done.
std::optional<platform::File> createFile(XString& strPath);
// Creates or replaces the file. False when it cannot be written; what is there then is unspecified.
bool writeWholeFile(XString& strPath, std::string_view strBytes);

}  // namespace mail
