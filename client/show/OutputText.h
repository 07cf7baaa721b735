#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Texts for people, on a terminal or in a file.
namespace client {

// UTF-8 for a line of output: tabs and line ends become blanks and other control characters visible
// signs, so that no name or server text can drive a terminal.
std::string OneLine(std::string_view text);

// The text cut to a length that has room in a line.
std::string Shortened(std::string_view text);

// "1 byte", "2 bytes"; "1 item", "2 items".
std::string Counted(std::size_t count, std::string_view one, std::string_view many);
std::string ItemCount(std::uint64_t count);

// "42 s", "3 min".
std::string TimeText(std::uint64_t seconds);

// "312 bytes", "1 byte", "1.5 KiB", "12.0 MiB".
std::string SizeText(std::size_t bytes);

}  // namespace client
