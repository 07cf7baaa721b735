#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "body/rtf/SymbolFonts.h"

namespace rtf {

enum class FontFamily : std::uint8_t { kUnknown, kSerif, kSans, kMono, kScript };

struct Font {
  std::u16string strName;
  unsigned nPage = 0;  // 0: the document's ANSI page
  FontFamily eFamily = FontFamily::kUnknown;
  SymbolFont eSymbol = SymbolFont::kNone;
};

// The code page of a \fcharset number, which is one of the charset numbers of Windows fonts; 0 for
// those that have none of their own.
unsigned PageOfCharset(int nCharset);

// True if text in the page can be read.
bool CanReadPage(unsigned nPage);

// The document's fonts by their numbers, which come in any order.
class FontTable {
 public:
  Font& Open(int nFont);  // begins or goes on with a definition
  void SetCharset(int nFont, int nCharset);
  void Close(int nFont);              // its name is whole
  const Font* Find(int nFont) const;  // null for a number that was not defined
  bool IsEmpty() const { return m_mapFonts.empty(); }

 private:
  std::unordered_map<int, Font> m_mapFonts;
};

}  // namespace rtf
