#pragma once

#include <string_view>

#include "base/StringBuffer.h"

namespace mail {

// Names of charsets and the numbers of their code pages, which are those of Windows; 0 means none
// or unknown. The numbers 1 to 24 are no charsets but binary-to-text encodings (1 base64, 3 hex,
// …), so that one option can name either. A number that has a name need not have a table: whether a
// page converts is the business of EncodingConvert.

// Brings the name into its compared form (in place) and returns its code page, or 0. The form:
// blanks, tabs, CR and LF at the ends taken off, lower case, "_" turned to "-", the first "bom-"
// and the first "no-bom-" removed, quotes removed. A form of fewer than three bytes, and "ansi",
// give the machine's ANSI code page; one that begins with "hex" gives 3. A name is never guessed
// at.
int nameToCodePage(StringBuffer& strName);

// Appends nothing, sets: strName becomes the page's name, which may read as another page (54936
// writes "gb18030", which reads as 936). False, and strName untouched, for 0 and for a page that
// has no name to write.
bool codePageToName(int nCodePage, StringBuffer& strName);

// Whether nameToCodePage gives anything but 0.
bool isKnownCharset(std::string_view strName);

}  // namespace mail
