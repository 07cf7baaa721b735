#pragma once

#include <string>
#include <string_view>

#include "body/rtf/FontTable.h"

namespace rtf {

// Bytes of text in the page of a font (null: none is known) or, where that has none, of the
// document. Bytes that mean nothing there are U+FFFD; a page that is not known is read as
// windows-1252, and *pbUnknown set. The fonts of signs give the characters that look like them.
std::u16string DecodeText(std::string_view strBytes, const Font* pFont, unsigned nAnsiPage,
                          bool* pbUnknown);

}  // namespace rtf
