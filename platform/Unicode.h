#pragma once

#include <string>
#include <string_view>

namespace platform {

// Conversion between UTF-8 and UTF-16. What is ill-formed (a lone surrogate, an overlong or cut
// sequence) becomes U+FFFD, one for each maximal ill-formed part. Linear time; neither throws.
std::u16string Utf8ToUtf16(std::string_view strUtf8);
std::string Utf16ToUtf8(std::u16string_view str);
bool IsValidUtf8(std::string_view strUtf8);

// The one table of upper-case forms, one unit to one unit, whatever the locale; units that have no
// such form, surrogates among them, stay. Two names are equal without regard to case when their
// upper-case forms are.
char16_t UpperUnit(char16_t ch);
char16_t LowerUnit(char16_t ch);
std::u16string UpperUnits(std::u16string_view str);
bool EqualNoCase(std::u16string_view a, std::u16string_view b);

}  // namespace platform
