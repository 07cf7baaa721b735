#include "body/rtf/TextDecoder.h"

#include "body/rtf/HtmlText.h"
#include "charset/LibraryNarrow.h"

namespace rtf {
namespace {

constexpr unsigned kFallbackPage = 1252;

}  // namespace

std::u16string DecodeText(std::string_view strBytes, const Font* pFont, unsigned nAnsiPage,
                          bool* pbUnknown) {
  if (pFont && pFont->eSymbol != SymbolFont::kNone) {
    std::u16string str;
    for (const char ch : strBytes) {
      str += ToUnits(SignOf(pFont->eSymbol, static_cast<unsigned char>(ch)));
    }
    return str;
  }
  unsigned nPage = pFont && pFont->nPage != 0 ? pFont->nPage : nAnsiPage;
  if (!CanReadPage(nPage)) {
    *pbUnknown = true;
    nPage = kFallbackPage;
  }
  return mail::LibraryNarrow().ToWide(strBytes, nPage);
}

}  // namespace rtf
