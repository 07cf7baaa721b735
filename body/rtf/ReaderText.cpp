// Where the text of each destination goes.

#include <algorithm>
#include <utility>

#include "body/rtf/HtmlText.h"
#include "body/rtf/Reader.h"
#include "body/rtf/TextDecoder.h"
#include "platform/Unicode.h"

namespace rtf {
namespace {

constexpr std::size_t kMostCollected = 64 * 1024;  // units
constexpr std::size_t kMostColors = 64 * 1024;

void AppendLimited(std::u16string& str, std::u16string_view strMore) {
  if (str.size() < kMostCollected) str += strMore;
}

}  // namespace

const Font* Reader::CurrentFont() const {
  if (m_objState.eDestination == Destination::kFontTable) return nullptr;
  const bool bDouble = m_objState.bDoubleByte && m_objState.nDoubleByteFont != kNoFont;
  return m_objDocument.FontOf(bDouble ? m_objState.nDoubleByteFont
                                      : m_objState.objCharacters.nFont);
}

void Reader::FlushBytes() {
  if (m_strBytes.empty()) return;
  const Font* pFont = m_objState.eDestination == Destination::kFontTable
                          ? m_objDocument.objFonts.Find(m_nFontDefined)
                          : CurrentFont();
  bool bUnknown = false;
  const std::string strBytes = std::exchange(m_strBytes, {});
  const std::u16string strUnits = DecodeText(strBytes, pFont, m_objDocument.nAnsiPage, &bUnknown);
  if (bUnknown) m_objNotes.Add(Note::kUnknownPage);
  Deliver(strUnits);
}

void Reader::PutCharacter(char32_t ch) {
  FlushBytes();
  m_bGroupStart = false;
  if (m_nSkip > 0) {
    --m_nSkip;
  } else if (!IsSkipping()) {
    EndPair();
    DeliverCharacter(ch);
  }
}

// Text that readers of the document do not see.
bool Reader::IsLeftOut() {
  const bool bHidden = m_objState.objCharacters.Is(kHidden);
  const bool bDeleted = m_objState.objCharacters.Is(kDeleted);
  if (bHidden || bDeleted) m_objNotes.Add(bDeleted ? Note::kDeleted : Note::kHidden);
  return bHidden || bDeleted;
}

void Reader::DeliverAscii(std::string_view strText) {
  if (m_eForm == Form::kRichText && IsText()) {
    if (!IsLeftOut()) m_objPage.PutAscii(strText, m_objState.objCharacters);
    return;
  }
  const std::u16string strUnits(strText.begin(), strText.end());
  Deliver(strUnits);
}

// Where a destination keeps its text that is no part of the page; null for others.
std::u16string* Reader::Collector() {
  switch (m_objState.eDestination) {
    case Destination::kInstruction:
      return m_arrFields.empty() ? nullptr : &m_arrFields.back().strInstruction;
    case Destination::kLevelText:
    case Destination::kBookmark:
      return &m_strCollected;
    case Destination::kShapeName:
      return &m_strShapeName;
    case Destination::kShapeValue:
      return &m_strShapeValue;
    case Destination::kOldListBefore:
      return &m_strOldBefore;
    case Destination::kOldListAfter:
      return &m_strOldAfter;
    default:
      return nullptr;
  }
}

void Reader::Deliver(std::u16string_view strUnits) {
  if (m_objState.eDestination == Destination::kFontTable) return AddFontText(strUnits);
  if (m_objState.eDestination == Destination::kStyleSheet) return AddStyleText(strUnits);
  if (std::u16string* pCollector = Collector()) return AppendLimited(*pCollector, strUnits);
  for (std::size_t n = 0; n < strUnits.size();) PutText(TakeCharacter(strUnits, n));
}

void Reader::DeliverCharacter(char32_t ch) {
  if (ch <= 0x10FFFF) Deliver(ToUnits(ch));
}

void Reader::PutText(char32_t ch) {
  if (m_objState.eDestination == Destination::kHtmlTag) return m_objHtml.PutMarkup(ch);
  if (!IsText()) return;
  if (m_eForm == Form::kHtml) {
    if (!m_objState.bHtmlRtf) m_objHtml.PutText(ch);
    return;
  }
  if (IsLeftOut()) return;
  CharacterFormat objFormat = m_objState.objCharacters;
  const Font* pFont = CurrentFont();
  const SymbolFont eSymbol = pFont ? pFont->eSymbol : SymbolFont::kNone;
  if (const int nByte = PrivateByte(ch); nByte >= 0) {
    const auto eSigns = eSymbol == SymbolFont::kNone ? SymbolFont::kSymbol : eSymbol;
    ch = SignOf(eSigns, static_cast<unsigned char>(nByte));
  }
  if (eSymbol != SymbolFont::kNone && PrivateByte(ch) < 0) {
    objFormat.nFont = kNoFont;  // other fonts have the sign
  }
  m_objPage.PutCharacter(ch, objFormat);
}

void Reader::AddFontText(std::u16string_view strUnits) {
  for (const char16_t ch : strUnits) {
    if (ch == u';') {
      m_objDocument.objFonts.Close(m_nFontDefined);
    } else {
      AppendLimited(m_objDocument.objFonts.Open(m_nFontDefined).strName, {&ch, 1});
    }
  }
}

// Programs of all languages call the styles of headings "heading 1" and so on.
void Reader::AddStyleText(std::u16string_view strUnits) {
  constexpr std::u16string_view kHeading = u"HEADING ";
  for (const char16_t ch : strUnits) {
    if (ch != u';') {
      AppendLimited(m_strCollected, {&ch, 1});
      continue;
    }
    const std::u16string strName = platform::UpperUnits(std::exchange(m_strCollected, {}));
    const bool bHeading = strName.size() == kHeading.size() + 1 && strName.starts_with(kHeading) &&
                          strName.back() >= u'1' && strName.back() <= u'9';
    if (bHeading) m_objDocument.mapHeadings[m_nStyleDefined] = strName.back() - u'1';
  }
}

void Reader::AddColorText(std::string_view strText) {
  for (const char ch : strText) {
    if (ch != ';' || m_objDocument.arrColors.size() >= kMostColors) continue;
    m_objDocument.arrColors.push_back(std::exchange(m_bColorGiven, false) ? m_nColor : kNoColor);
    m_nColor = 0;
  }
}

}  // namespace rtf
