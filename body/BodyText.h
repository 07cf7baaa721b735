#pragma once

#include <string_view>

#include "platform/CString.h"

// The text of a work file, in the form that its bytes show: of a byte order mark, 16-bit, UTF-8 or
// in the ANSI page. What they leave open is 16-bit, as drivers are to write it. Linear time.
CString BodyText(std::string_view strBytes);

// The same of a page of HTML, which may name its charset, too.
CString PageText(std::string_view strBytes);

// With a CR LF at the end of every line, the last one too.
CString InLines(const CString& strText);

// Whether a page, in UTF-8, has neither words nor a picture.
bool ShowsNothing(std::string_view strHtml);
