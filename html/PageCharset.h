#pragma once

#include <string>
#include <string_view>

namespace mail {

// The code page that a page of HTML is written in: as its byte order mark or the width of its units
// says, else as its META element does where that can be, else UTF-8 or, where its bytes are none,
// nElse. A page that calls itself iso-8859-1 is in windows-1252, as a rule; one that calls itself
// us-ascii has said nothing about the bytes beyond that. Linear.
unsigned charsetOfPage(std::string_view strBytes, unsigned nElse);

// The page in well-formed UTF-8 without a mark, read so; what means nothing is U+FFFD. Throws
// std::bad_alloc alone.
std::string pageAsUtf8(std::string_view strBytes, unsigned nElse);

// What its META element names as charset, a code page that can be read byte for byte; 0 for none.
unsigned charsetOfMeta(std::string_view strBytes);

}  // namespace mail
