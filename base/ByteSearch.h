#pragma once

#include <cstddef>
#include <string_view>

// Searches over raw bytes, each linear in what it looks at. Positions count from the start of the
// text; npos means none.
namespace mail::byte_search {

inline constexpr std::size_t npos = std::string_view::npos;

// The first place at or behind nFrom where two bytes stand side by side.
std::size_t findPair(std::string_view strText, char ch1, char ch2, std::size_t nFrom);
// The first place at or behind nFrom where the pattern (two bytes or more) stands. Fast for a
// pattern that begins with two dashes in a text that has few of them.
std::size_t findPattern(std::string_view strText, std::string_view strPattern, std::size_t nFrom);
// Whether a byte from chLow to chHigh is there.
bool hasByteBetween(std::string_view strText, unsigned char chLow, unsigned char chHigh);
bool is7bit(std::string_view strText);
// Whether all of it is well-formed UTF-8, surrogates aside; with bCut a character that the end cuts
// passes.
bool isUtf8(std::string_view strText, bool bCut = false);

}  // namespace mail::byte_search
