#include "body/rtf/FontTable.h"

#include <algorithm>
#include <array>

#include "charset/CharsetTables.h"

namespace rtf {
namespace {

constexpr unsigned kUtf8 = 65001;
constexpr int kSymbolCharset = 2;

struct CharsetPage {
  int nCharset;
  unsigned nPage;
};
constexpr std::array kCharsetPages = {
    CharsetPage{0, 1252},   CharsetPage{77, 10000}, CharsetPage{78, 10001}, CharsetPage{79, 10003},
    CharsetPage{80, 10008}, CharsetPage{81, 10002}, CharsetPage{83, 10005}, CharsetPage{84, 10004},
    CharsetPage{85, 10006}, CharsetPage{86, 10081}, CharsetPage{87, 10021}, CharsetPage{88, 10029},
    CharsetPage{89, 10007}, CharsetPage{128, 932},  CharsetPage{129, 949},  CharsetPage{130, 1361},
    CharsetPage{134, 936},  CharsetPage{136, 950},  CharsetPage{161, 1253}, CharsetPage{162, 1254},
    CharsetPage{163, 1258}, CharsetPage{177, 1255}, CharsetPage{178, 1256}, CharsetPage{186, 1257},
    CharsetPage{204, 1251}, CharsetPage{222, 874},  CharsetPage{238, 1250}, CharsetPage{254, 437},
    CharsetPage{255, 850},
};

// Fonts whose name tells their script where their charset does not: "Arial CYR" and its like.
struct NameEnd {
  std::u16string_view strEnd;
  unsigned nPage;
};
constexpr std::array kNameEnds = {
    NameEnd{u" Baltic", 1257}, NameEnd{u" CE", 1250},          NameEnd{u" CYR", 1251},
    NameEnd{u" Cyr", 1251},    NameEnd{u" Greek", 1253},       NameEnd{u" TUR", 1254},
    NameEnd{u" Tur", 1254},    NameEnd{u"(Arabic)", 1256},     NameEnd{u"(Hebrew)", 1255},
    NameEnd{u"(Thai)", 874},   NameEnd{u"(Vietnamese)", 1258},
};

}  // namespace

unsigned PageOfCharset(int nCharset) {
  const auto it = std::ranges::find(kCharsetPages, nCharset, &CharsetPage::nCharset);
  return it == kCharsetPages.end() ? 0 : it->nPage;
}

bool CanReadPage(unsigned nPage) {
  return nPage == kUtf8 || mail::charset_tables::fromUnicode(nPage) != nullptr;
}

Font& FontTable::Open(int nFont) { return m_mapFonts[nFont]; }

void FontTable::SetCharset(int nFont, int nCharset) {
  Font& objFont = Open(nFont);
  objFont.nPage = PageOfCharset(nCharset);
  if (nCharset == kSymbolCharset) objFont.eSymbol = SymbolFont::kOther;
}

void FontTable::Close(int nFont) {
  const auto it = m_mapFonts.find(nFont);
  if (it == m_mapFonts.end()) return;
  Font& objFont = it->second;
  const SymbolFont eSymbol = SymbolFontOf(objFont.strName);
  if (eSymbol != SymbolFont::kNone) objFont.eSymbol = eSymbol;
  if (objFont.nPage != 0) return;
  for (const NameEnd& objEnd : kNameEnds) {
    if (objFont.strName.ends_with(objEnd.strEnd)) objFont.nPage = objEnd.nPage;
  }
}

const Font* FontTable::Find(int nFont) const {
  const auto it = m_mapFonts.find(nFont);
  return it == m_mapFonts.end() ? nullptr : &it->second;
}

}  // namespace rtf
