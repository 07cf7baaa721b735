#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Text laid out for a terminal. All of it is UTF-8.
namespace client {

inline constexpr std::size_t kColumns = 80;

// How many columns a terminal gives the text: two for wide characters, none for marks that sit on
// another one.
std::size_t WidthOf(std::string_view text);

// Appends blanks up to that width.
void PadTo(std::size_t width, std::string& text);

// Appends a text behind what stands in the last line of `out`, broken at blanks so that no line is
// wider than kColumns; further lines begin with `indent` blanks. Ends without a line end. A word
// too wide for a line, as scripts without blanks have them, is broken where the line is full.
void AppendWrapped(std::string_view text, std::size_t indent, std::string& out);

}  // namespace client
