#pragma once

#include "base/DataBuffer.h"
#include "base/LogBase.h"
#include "charset/EncodingConvert.h"
#include "mime/tree/PassingBytes.h"

namespace mail::line_conversion {

// Pages in which bytes of 1 to 0x7F are ASCII, and in which nothing reaches across a line end:
// lines that are converted one after the other give what the whole gives.
bool isAsciiPage(int nPage);

// Appends the text in UTF-8 and answers, by m_hadErrors too, as objConvert's EncConvert does; the
// text of an ASCII page is taken in pieces. If that fails, and not because the library cannot read
// the page, memory is short, and what was appended is gone from the text.
bool toUtf8(EncodingConvert& objConvert, int nPage, const PassingBytes& objText, DataBuffer& out,
            LogBase& log);

}  // namespace mail::line_conversion
