#include "body/rtf/SymbolFonts.h"

#include <algorithm>
#include <array>

#include "body/rtf/SymbolFontTable.h"

namespace rtf {
namespace {

constexpr char32_t kPrivateArea = 0xF000;

struct NamedFont {
  std::u16string_view strName;
  SymbolFont eFont;
};
constexpr std::array kNamedFonts = {
    NamedFont{u"Symbol", SymbolFont::kSymbol},       NamedFont{u"Symbol MT", SymbolFont::kSymbol},
    NamedFont{u"Wingdings", SymbolFont::kWingdings}, NamedFont{u"Wingdings 2", SymbolFont::kOther},
    NamedFont{u"Wingdings 3", SymbolFont::kOther},   NamedFont{u"Webdings", SymbolFont::kOther},
};

}  // namespace

SymbolFont SymbolFontOf(std::u16string_view strName) {
  const auto it = std::ranges::find(kNamedFonts, strName, &NamedFont::strName);
  return it == kNamedFonts.end() ? SymbolFont::kNone : it->eFont;
}

char32_t SignOf(SymbolFont eFont, unsigned char nByte) {
  if (nByte < 0x20) return nByte;
  const std::size_t nIndex = nByte - 0x20U;
  char32_t ch = 0;
  if (eFont == SymbolFont::kSymbol) ch = kSymbolSigns[nIndex];
  if (eFont == SymbolFont::kWingdings) ch = kWingdingsSigns[nIndex];
  return ch != 0 ? ch : kPrivateArea + nByte;
}

}  // namespace rtf
