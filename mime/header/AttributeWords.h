#pragma once

#include "base/LogBase.h"
#include "base/StringBuffer.h"

namespace mail {

// Decodes the encoded words of an attribute list, in place. What comes out of one in a value stays
// part of that value: it gets quotes where it must, and a backslash in front of those that it
// holds. Linear in the list.
void decodeAttributes(StringBuffer& strValueUtf8, LogBase& log);

}  // namespace mail
