#pragma once

#include <cstddef>
#include <string_view>

namespace mail {

// Comparing, searching and trimming of text whose syntax is ASCII: header fields, tags, names.
// Bytes of 0x80 and above are only equal to themselves, so UTF-8 and any other encoding that keeps
// ASCII may pass. Every search takes linear time, whatever the text and the part hold.

constexpr char toLowerAscii(char ch) {
  return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch + ('a' - 'A')) : ch;
}

constexpr bool isAsciiLetter(char ch) { return toLowerAscii(ch) >= 'a' && toLowerAscii(ch) <= 'z'; }

// Blank and tab: what separates words within a line.
constexpr bool isBlankOrTab(char ch) { return ch == ' ' || ch == '\t'; }

// Blank, tab, CR and LF: what trimming takes away.
constexpr bool isAsciiSpace(char ch) { return isBlankOrTab(ch) || ch == '\r' || ch == '\n'; }

bool equalsNoCase(std::string_view strLeft, std::string_view strRight);
bool beginsWithNoCase(std::string_view strText, std::string_view strPart);

// The index of the first such part at nFrom or behind it; npos if there is none. The empty part is
// found at once.
std::size_t findNoCase(std::string_view strText, std::string_view strPart, std::size_t nFrom = 0);
// The same with case; unlike string_view::find in linear time and at the speed of memmem.
std::size_t findBytes(std::string_view strText, std::string_view strPart, std::size_t nFrom = 0);

// Without the blanks, tabs, CR and LF at both ends; a view into the same text.
std::string_view trimmed(std::string_view strText);
// And without the NULs at the end: a StringBuffer drops them, which must uncover no white space.
std::string_view trimmedWithNuls(std::string_view strText);

}  // namespace mail
