#pragma once

#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"

// The charsets that encoded words and parameters of mails name.
namespace mail::encoded_words {

// The code page of a name as it stands in a mail: a language behind a star (RFC 2231) does not
// count, and "8bit" is utf-8. 0 for a name that is unknown or no charset's.
unsigned pageOf(std::string_view strCharset);

// Whether a byte of 0x80 to 0x9F is there: text of Latin-1 has none.
bool holdsC1Controls(std::string_view strLatin1);

// Appends the text in UTF-8. Bytes of page 0, of UTF-8 and of a page that does not convert are
// appended as they are. What Latin-1 cannot be is taken for windows-1252 where that has all of it,
// and 8-bit bytes under us-ascii for UTF-8 or else Latin-1. False for want of memory.
bool toUtf8(unsigned nPage, std::string_view strBytes, DataBuffer& out, LogBase& log);

}  // namespace mail::encoded_words
