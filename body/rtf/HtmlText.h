#pragma once

#include <string>
#include <string_view>

namespace rtf {

// Text as it stands in a page: ASCII alone, every other character as a numeric reference, what HTML
// reads as markup as well. Characters that no page may hold are dropped, ill-formed units are
// U+FFFD.
void AppendCharacter(std::string& strHtml, char32_t ch);
void AppendAttribute(std::string& strHtml, std::u16string_view strValue);
void AppendReference(std::string& strHtml, char32_t ch);

// Takes the character that begins at n, and moves n behind it.
char32_t TakeCharacter(std::u16string_view str, std::size_t& n);
std::u16string ToUnits(char32_t ch);

// "7.5pt" for 150.
void AppendTwips(std::string& strCss, int nTwips);

}  // namespace rtf
