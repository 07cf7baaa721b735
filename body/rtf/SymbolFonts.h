#pragma once

#include <cstdint>
#include <string_view>

namespace rtf {

// Fonts whose bytes are signs of their own and no letters of a code page.
enum class SymbolFont : std::uint8_t { kNone, kSymbol, kWingdings, kOther };

// By the font's name; kNone for a font of letters.
SymbolFont SymbolFontOf(std::u16string_view strName);

// The character that a byte stands for: what Unicode has for it, else its place in the private area
// (U+F000 and the byte), where the font itself finds it.
char32_t SignOf(SymbolFont eFont, unsigned char nByte);

// The byte behind a character of that private area, or -1.
constexpr int PrivateByte(char32_t ch) {
  return ch >= 0xF020 && ch <= 0xF0FF ? static_cast<int>(ch - 0xF000) : -1;
}

}  // namespace rtf
