#include "body/rtf/Reader.h"

#include <algorithm>
#include <utility>

#include "body/rtf/BaseFormat.h"

namespace rtf {
namespace {

constexpr char32_t kHardBlank = 0xA0;
constexpr char32_t kSoftHyphen = 0xAD;
constexpr char32_t kHardHyphen = 0x2011;
constexpr char32_t kReplacement = 0xFFFD;
constexpr int kLeastTab = 20;  // twips
constexpr int kMostTab = 22 * 1440;
constexpr int kMostStart = 1'000'000;  // of notes

// Destinations that programs begin in the middle of a group as well.
bool MayBeginLate(Destination eDestination) {
  return eDestination == Destination::kPicture || eDestination == Destination::kFontTable ||
         eDestination == Destination::kColorTable;
}

bool IsAscii(std::string_view strText) {
  return std::ranges::all_of(strText,
                             [](char ch) { return static_cast<unsigned char>(ch) < 0x80; });
}

}  // namespace

Reader::Reader(std::string_view strRtf, unsigned nAnsiPage, PictureSaver& objSaver)
    : m_objTokenizer(strRtf),
      m_objSaver(objSaver),
      m_objPage(m_objDocument, FindBaseFormat(strRtf), strRtf.size()) {
  m_objDocument.nAnsiPage = nAnsiPage;
}

HtmlResult Reader::Read() {
  for (Token objToken = m_objTokenizer.Next(); objToken.eKind != TokenKind::kEnd;
       objToken = m_objTokenizer.Next()) {
    Take(objToken);
  }
  FlushBytes();
  EndPair();
  if (!m_arrStack.empty()) m_objNotes.Add(Note::kCut);
  const State objLast = m_arrStack.empty() ? m_objEnd : m_objState;
  m_nUncounted = 0;
  while (!m_arrStack.empty()) CloseGroup();
  HtmlResult objResult;
  objResult.strHtml =
      m_eForm == Form::kHtml
          ? m_objHtml.Finish()
          : SavePictures(m_objPage.Finish(objLast.objParagraph, objLast.objCharacters));
  if (m_objPage.LostFormatting()) m_objNotes.Add(Note::kFormatting);
  objResult.objNotes = m_objNotes;
  objResult.nSteps = m_nSteps + objResult.strHtml.size();
  return objResult;
}

void Reader::Take(const Token& objToken) {
  ++m_nSteps;
  switch (objToken.eKind) {
    case TokenKind::kOpen:
      return OpenGroup();
    case TokenKind::kClose:
      return CloseGroup();
    case TokenKind::kText:
      return TakeText(objToken.strText);
    case TokenKind::kByte:
      return TakeByte(objToken.nByte);
    case TokenKind::kSymbol:
      return TakeSymbol(objToken.nByte);
    case TokenKind::kWord:
      return TakeWord(objToken);
    case TokenKind::kBinary:
      if (m_nSkip > 0) {
        --m_nSkip;
      } else if (m_objState.eDestination == Destination::kPicture && !IsSkipping()) {
        m_strPicture += objToken.strText;
      }
      return;
    case TokenKind::kEnd:
      return;
  }
}

void Reader::OpenGroup() {
  FlushBytes();
  m_nSkip = 0;
  m_bIgnorable = false;
  m_bGroupStart = true;
  if (m_arrStack.size() >= kMostGroups) {
    if (m_nUncounted++ == 0 && m_objNotes.Count(Note::kTooDeep) == 0) {
      m_objNotes.Add(Note::kTooDeep);
    }
    return;
  }
  m_arrStack.push_back(m_objState);
  m_objState.bBegins = false;
}

void Reader::CloseGroup() {
  FlushBytes();
  m_nSkip = 0;
  m_bIgnorable = m_bGroupStart = false;
  if (m_nUncounted > 0) {
    if (m_nSkipFrom == m_nUncounted) m_nSkipFrom = 0;
    --m_nUncounted;
    return;
  }
  m_nSkipFrom = 0;
  if (m_arrStack.empty()) {  // one too many: what was begun outside of all groups ends here
    m_objState = {};
    return;
  }
  if (m_objState.bBegins) EndPair();
  const State objEnded = std::exchange(m_objState, m_arrStack.back());
  m_arrStack.pop_back();
  if (m_arrStack.empty()) m_objEnd = objEnded;
  if (objEnded.bBegins) EndDestination(objEnded);
}

bool Reader::IsSkipping() const {
  return m_nSkipFrom != 0 || m_objState.eDestination == Destination::kSkip ||
         m_objState.eDestination == Destination::kAlternative;
}

void Reader::TakeText(std::string_view strText) {
  m_bGroupStart = false;
  const std::size_t nSkip =
      std::min<std::size_t>(static_cast<std::size_t>(m_nSkip), strText.size());
  strText.remove_prefix(nSkip);
  m_nSkip -= static_cast<int>(nSkip);
  if (strText.empty() || IsSkipping()) return;
  EndPair();
  m_nSteps += strText.size();
  if (m_objState.eDestination == Destination::kPicture) return AddHex(strText);
  if (m_objState.eDestination == Destination::kColorTable) return AddColorText(strText);
  const Font* pFont = CurrentFont();
  const bool bLetters = pFont == nullptr || pFont->eSymbol == SymbolFont::kNone;
  if (m_strBytes.empty() && bLetters && IsAscii(strText)) return DeliverAscii(strText);
  m_strBytes += strText;
}

void Reader::TakeByte(unsigned char nByte) {
  m_bGroupStart = false;
  if (m_nSkip > 0) {
    --m_nSkip;
  } else if (!IsSkipping()) {
    EndPair();
    m_strBytes += static_cast<char>(nByte);
  }
}

void Reader::TakeSymbol(unsigned char nSymbol) {
  switch (nSymbol) {
    case '*':
      m_bIgnorable = m_bGroupStart;
      return;
    case '\\':
    case '{':
    case '}':
      return TakeByte(nSymbol);
    case '~':
      return PutCharacter(kHardBlank);
    case '-':
      return PutCharacter(kSoftHyphen);
    case '_':  // a wrapped page means the other hyphen
      return PutCharacter(m_eForm == Form::kHtml ? kSoftHyphen : kHardHyphen);
    case '\t':
      return PutCharacter('\t');
    case '\r':
    case '\n':
      FlushBytes();
      if (IsText()) TakeFlowWord({"par", WordGroup::kFlow, Word::kParagraphEnd});
      return;
    default:
      return;
  }
}

void Reader::TakeWord(const Token& objToken) {
  FlushBytes();
  const WordEntry* pWord = FindWord(objToken.strText);
  const bool bStart = std::exchange(m_bGroupStart, false);
  const bool bIgnorable = std::exchange(m_bIgnorable, false);
  if (pWord == nullptr || (bIgnorable && pWord->eGroup != WordGroup::kDestination)) {
    if (bIgnorable) BeginDestination(Destination::kSkip);
    return;
  }
  if (pWord->eGroup == WordGroup::kDestination) {
    const auto eDestination = static_cast<Destination>(pWord->nArgument);
    if (bStart || MayBeginLate(eDestination)) BeginDestination(eDestination);
    return;
  }
  if (pWord->eGroup == WordGroup::kCode)
    return PutCharacter(static_cast<char32_t>(pWord->nArgument));
  if (pWord->eWord != Word::kUnicode) m_nSkip = 0;
  if (!IsSkipping()) ApplyWord(*pWord, objToken);
}

void Reader::ApplyWord(const WordEntry& objWord, const Token& objToken) {
  const bool bRow = m_objState.eDestination == Destination::kNestedRow;
  const int nLevel = bRow ? std::max(m_objState.objParagraph.nTableLevel, 2) : 1;
  switch (objWord.eGroup) {
    case WordGroup::kCharacter:
      if (objWord.eWord == Word::kFont) TakeFont(objToken.nNumber);
      if (objWord.eWord == Word::kDoubleByte) m_objState.bDoubleByte = objWord.nArgument != 0;
      if (objWord.eWord == Word::kAssociatedFont && m_objState.bDoubleByte) {
        m_objState.nDoubleByteFont = objToken.nNumber;
      }
      return ApplyCharacterWord(m_objState.objCharacters, objWord, objToken);
    case WordGroup::kParagraph:
      if (objWord.eWord == Word::kList && m_objState.eDestination == Destination::kOverride) {
        m_objDocument.objLists.NameOverride(objToken.nNumber);
      }
      if (objWord.eWord == Word::kStyle) return TakeStyle(objToken.nNumber);
      return ApplyParagraphWord(m_objState.objParagraph, objWord, objToken);
    case WordGroup::kBorder:
      if (!IsText() && !bRow) return;
      return m_objBorders.Apply(m_objState.objParagraph, m_objPage.Text().Row(nLevel), objWord,
                                objToken);
    case WordGroup::kRow:
      if (!IsText() && !bRow) return;
      if (objWord.eWord == Word::kRowDefaults) return m_objPage.Text().BeginRow(nLevel);
      return ApplyRowWord(m_objPage.Text().Row(nLevel), objWord, objToken);
    case WordGroup::kFlow:
      if (IsText() || m_objState.eDestination == Destination::kHtmlTag || bRow)
        TakeFlowWord(objWord);
      return;
    case WordGroup::kPicture:
      return TakePictureWord(objWord, objToken);
    case WordGroup::kList:
      return TakeListWord(objWord, objToken);
    case WordGroup::kFont:
    case WordGroup::kDocument:
      return TakeDocumentWord(objWord, objToken);
    default:
      return;
  }
}

// A font is chosen, or defined, or is that of a list's signs.
void Reader::TakeFont(int nFont) {
  if (m_objState.eDestination == Destination::kFontTable) {
    m_objDocument.objFonts.Close(m_nFontDefined);
    m_nFontDefined = nFont;
    (void)m_objDocument.objFonts.Open(nFont);
  } else if (m_objState.eDestination == Destination::kListLevel) {
    m_objDocument.objLists.Level().nFont = nFont;
  }
}

// Of a style only its being a heading counts: its formats are repeated where it is used.
void Reader::TakeStyle(int nStyle) {
  if (m_objState.eDestination == Destination::kStyleSheet) {
    m_nStyleDefined = nStyle;
    return;
  }
  const auto it = m_objDocument.mapHeadings.find(nStyle);
  const bool bHeading = it != m_objDocument.mapHeadings.end();
  m_objState.objParagraph.nOutline = static_cast<std::int8_t>(bHeading ? it->second : -1);
}

void Reader::TakeDocumentWord(const WordEntry& objWord, const Token& objToken) {
  const int nNumber = objToken.nNumber;
  const bool bFonts = m_objState.eDestination == Destination::kFontTable;
  switch (objWord.eWord) {
    case Word::kCodePage:
      m_objDocument.nAnsiPage = static_cast<unsigned>(objWord.nArgument);
      break;
    case Word::kAnsiCodePage:
      if (nNumber > 0) m_objDocument.nAnsiPage = static_cast<unsigned>(nNumber);
      break;
    case Word::kDefaultFont:
      m_objDocument.nDefaultFont = nNumber;
      break;
    case Word::kDefaultTab:
      if (nNumber > 0) m_objDocument.nDefaultTab = std::clamp(nNumber, kLeastTab, kMostTab);
      break;
    case Word::kUnicodeSkip:
      m_objState.nUnicodeSkip = std::clamp(nNumber, 0, 64);
      break;
    case Word::kUnicode:
      TakeUnicode(nNumber);
      break;
    case Word::kFromHtml:
      if (m_objPage.Puts() == 0) m_eForm = Form::kHtml;
      break;
    case Word::kFromText:
      m_objPage.Text().SetPlain(true);
      break;
    case Word::kEndnote:
      if (HtmlPage::Aside* const pNote = m_objPage.OpenNote()) *pNote = HtmlPage::Aside::kEndnote;
      break;
    case Word::kFootnoteFormat:
      m_objDocument.objFootnotes.nFormat = objWord.nArgument;
      break;
    case Word::kEndnoteFormat:
      m_objDocument.objEndnotes.nFormat = objWord.nArgument;
      break;
    case Word::kFootnoteStart:
      m_objDocument.objFootnotes.nStart = std::clamp(nNumber, 1, kMostStart);
      break;
    case Word::kEndnoteStart:
      m_objDocument.objEndnotes.nStart = std::clamp(nNumber, 1, kMostStart);
      break;
    case Word::kHtmlRtf:
      m_objState.bHtmlRtf = !objToken.bHasNumber || nNumber != 0;
      break;
    case Word::kRed:
    case Word::kGreen:
    case Word::kBlue: {
      const int nShift = objWord.eWord == Word::kRed ? 16 : objWord.eWord == Word::kGreen ? 8 : 0;
      m_nColor = (m_nColor & ~(0xFF << nShift)) | std::clamp(nNumber, 0, 255) << nShift;
      m_bColorGiven = true;
      break;
    }
    case Word::kFontFamily:
      if (bFonts) {
        m_objDocument.objFonts.Open(m_nFontDefined).eFamily =
            static_cast<FontFamily>(objWord.nArgument);
      }
      break;
    case Word::kFontCharset:
      if (bFonts) m_objDocument.objFonts.SetCharset(m_nFontDefined, nNumber);
      break;
    case Word::kFontCodePage:
      if (bFonts && nNumber > 0) {
        m_objDocument.objFonts.Open(m_nFontDefined).nPage = static_cast<unsigned>(nNumber);
      }
      break;
    default:
      break;
  }
}

// The number is one of 16 bits with its sign; some programs write the whole character instead.
void Reader::TakeUnicode(int nNumber) {
  m_nSkip = m_objState.nUnicodeSkip;
  const auto ch =
      nNumber < 0 ? static_cast<char32_t>(nNumber + 0x10000) : static_cast<char32_t>(nNumber);
  if (m_chHigh != 0 && ch >= 0xDC00 && ch <= 0xDFFF) {
    const char16_t chHigh = std::exchange(m_chHigh, u'\0');
    return DeliverCharacter(0x10000 + ((chHigh - 0xD800U) << 10) + (ch - 0xDC00));
  }
  EndPair();
  if (ch >= 0xD800 && ch <= 0xDBFF) {
    m_chHigh = static_cast<char16_t>(ch);
  } else {
    DeliverCharacter(ch);
  }
}

// A first half whose second one does not come is a character that cannot be read.
void Reader::EndPair() {
  if (std::exchange(m_chHigh, u'\0') != 0) DeliverCharacter(kReplacement);
}

void Reader::TakeFlowWord(const WordEntry& objWord) {
  EndPair();
  if (m_objPage.Text().IsInLabel()) return;  // its width stands for the tab behind it
  if (objWord.eWord == Word::kTab) return DeliverCharacter('\t');
  if (m_eForm == Form::kHtml) return TakeHtmlFlowWord(objWord.eWord);
  const CharacterFormat& objCharacters = m_objState.objCharacters;
  ParagraphFormat& objParagraph = m_objState.objParagraph;
  Flow& objFlow = m_objPage.Text();
  switch (objWord.eWord) {
    case Word::kParagraphEnd:
    case Word::kSectionEnd:
      return objFlow.EndParagraph(objParagraph, objCharacters);
    case Word::kLineEnd:
      return m_objPage.PutLineBreak();
    case Word::kPageEnd:
      return m_objPage.PutPageBreak();
    case Word::kCell:
      return objFlow.EndCell(1, objParagraph, objCharacters);
    case Word::kRow:
      return objFlow.EndRow(1, objParagraph, objCharacters);
    case Word::kNestedCell:
      return objFlow.EndCell(std::max(objParagraph.nTableLevel, 2), objParagraph, objCharacters);
    case Word::kNestedRow:
      return objFlow.EndRow(std::max(objParagraph.nTableLevel, 2), objParagraph, objCharacters);
    case Word::kNoteMark:
      return PutNoteMark();
    default:
      return;
  }
}

// A mark stands before its note, and which kind that is is told at the note's beginning. Marks do
// not look beyond the next one, so no text is looked at more than once.
HtmlPage::Aside Reader::KindOfNextNote() const {
  constexpr int kMostTokens = 64;
  Tokenizer objAhead = m_objTokenizer;
  bool bInNote = false;
  for (int n = 0; n < kMostTokens; ++n) {
    const Token objToken = objAhead.Next();
    if (objToken.eKind == TokenKind::kEnd || objToken.strText == "chftn") break;
    if (objToken.eKind != TokenKind::kWord) continue;
    if (bInNote && objToken.strText == "ftnalt") return HtmlPage::Aside::kEndnote;
    bInNote = bInNote || objToken.strText == "footnote";
  }
  return HtmlPage::Aside::kFootnote;
}

// The marks in the text and in the notes lead to each other.
void Reader::PutNoteMark() {
  if (IsLeftOut()) return;
  const HtmlPage::Aside* const pNote = m_objPage.OpenNote();
  const HtmlPage::Aside eKind = pNote ? *pNote : KindOfNextNote();
  const bool bEndnote = eKind == HtmlPage::Aside::kEndnote;
  const int nNumber = pNote ? std::max(m_objPage.NoteCount(eKind), 1) : m_objPage.CountNote(eKind);
  const std::string strKind = bEndnote ? "endnote-" : "footnote-";
  const std::string strNote = strKind + std::to_string(nNumber);
  const std::string strMark = strKind + "mark-" + std::to_string(nNumber);
  m_objPage.PutPlace(pNote ? strNote : strMark);
  CharacterFormat objFormat = m_objState.objCharacters;
  m_objDocument.arrLinks.push_back("#" + (pNote ? strMark : strNote));
  objFormat.nLink = static_cast<int>(m_objDocument.arrLinks.size() - 1);
  const NoteNumbers& objNumbers = bEndnote ? m_objDocument.objEndnotes : m_objDocument.objFootnotes;
  for (const char16_t ch : FormatListNumber(nNumber - 1 + objNumbers.nStart, objNumbers.nFormat)) {
    m_objPage.PutCharacter(ch, objFormat);
  }
}

// Line ends of the page's source; what rich text shows as its paragraphs is not part of it.
void Reader::TakeHtmlFlowWord(Word eWord) {
  if (eWord == Word::kParagraphEnd || eWord == Word::kLineEnd) DeliverCharacter('\n');
}

}  // namespace rtf
