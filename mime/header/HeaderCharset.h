#pragma once

#include <cstddef>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"

namespace mail {

// The charset of a header's raw bytes. Headers should be ASCII and are not: old mailers wrote the
// bytes of their own charset, and every relay added what it liked. No field says which charset that
// was, so it is read off the header's own text, by a fixed row of tests of which the first that
// answers counts: encoded words, what the caller knows, names of charsets anywhere in the text, the
// entity around, signs of UTF-8, the machine's ANSI page, Latin-1.
//
// Nothing throws; each test reads the text once at most.

// The code page of a header (without the empty line at its end); 0 when nothing needs a decision.
// bRawJapanese is set when the text holds the escape sequences of ISO-2022-JP outside encoded words
// and must be converted from that as a whole; the result is what it is in then, 65001.
//
// nKnownCodePage: 65001 or 0. strClue: the name of a charset, or empty.
int decideHeaderCodePage(std::string_view strHeader, int nKnownCodePage, std::string_view strClue,
                         bool& bRawJapanese, LogBase& log);

// Raw ISO-2022-JP, as a whole, to UTF-8.
bool convertRawJapanese(std::string_view strHeader, DataBuffer& out, LogBase& log);

// One field with 8-bit bytes to UTF-8, appended to out. A field with a UTF-8 signature loses it and
// is UTF-8 whatever the page. Where a field of a UTF-8 header is not UTF-8, it is read by the ANSI
// page; a few bad bytes among good characters are dropped instead.
bool convertFieldToUtf8(std::string_view strField, int nCodePage, DataBuffer& out, LogBase& log);

}  // namespace mail
