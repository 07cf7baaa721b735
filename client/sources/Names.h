#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace client {

inline constexpr size_t kMaxFileName = 200;  // bytes of a file name that we write

// The name of a source folder as a level of a target path, in UTF-8: bytes that are none are
// Western text, a backslash (which would end the level) becomes
// U+FF3C, which looks like one, a tab a blank, and characters that XML forbids are left out. A name
// of which nothing is left becomes "_"; what is beyond Exchange's 255 units is cut off.
std::string LevelName(std::string_view bytes);

// A name for a file that we write: without / \ : * ? " < > | and control characters, without blanks
// and dots at its end, at most kMaxFileName bytes, cut at a character with the extension kept.
// Never empty, never "." or "..". The text is UTF-8; what is ill-formed becomes U+FFFD.
std::string FileName(std::string_view text);

// That name with " (number)" in front of its extension, no longer than kMaxFileName either.
std::string NumberedFileName(std::string_view name, int number);

// UTF-8 cut to at most so many bytes without splitting a character; a view into the same text.
std::string_view CutAtCharacter(std::string_view text, size_t bytes);

// UTF-8 without the control characters that XML forbids; tab, CR and LF stay.
std::string WithoutForbiddenControls(std::string_view text);

}  // namespace client
