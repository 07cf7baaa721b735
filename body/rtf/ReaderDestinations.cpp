// Groups that are more than text: tables of the head, fields, pictures, lists, asides.

#include <algorithm>
#include <utility>

#include "body/rtf/FieldInstruction.h"
#include "body/rtf/Hex.h"
#include "body/rtf/HtmlText.h"
#include "body/rtf/PictureFile.h"
#include "body/rtf/Reader.h"
#include "body/rtf/TextDecoder.h"

namespace rtf {
namespace {

constexpr unsigned kWesternPage = 1252;
constexpr int kMostStart = 1'000'000;  // of a list
constexpr std::size_t kTagSize = 256;  // bytes of a picture's tag, mostly
constexpr std::u16string_view kPictureOfShape = u"pib";

bool HoldsText(Destination eDestination) {
  switch (eDestination) {
    case Destination::kBody:
    case Destination::kUnicodeForm:
    case Destination::kField:
    case Destination::kResult:
    case Destination::kListText:
    case Destination::kObject:
    case Destination::kObjectResult:
    case Destination::kShapeText:
    case Destination::kFootnote:
      return true;
    default:
      return false;
  }
}

// What a wrapped page has for readers of rich text only; its tags say the same.
bool IsNoPartOfHtml(Destination eDestination) {
  return eDestination == Destination::kListText || eDestination == Destination::kPicture ||
         eDestination == Destination::kShape || eDestination == Destination::kBookmark ||
         eDestination == Destination::kOldList;
}

}  // namespace

bool Reader::IsText() const { return m_nSkipFrom == 0 && HoldsText(m_objState.eDestination); }

void Reader::BeginDestination(Destination eDestination) {
  if (m_arrStack.empty()) return;  // no group, no end
  EndPair();
  const Destination eNow = m_objState.eDestination;
  if (m_nUncounted > 0) {  // this group cannot be told from the one around it
    const bool bMayHold = HoldsText(eDestination) || eDestination == Destination::kShape;
    if (!bMayHold && m_nSkipFrom == 0) m_nSkipFrom = m_nUncounted;
    return;
  }
  if (eNow == Destination::kAlternative && eDestination == Destination::kUnicodeForm) {
    m_objState.eDestination = m_objState.eAround;
    return;
  }
  const bool bPasses =
      eDestination == Destination::kBody || eDestination == Destination::kUnicodeForm;
  if (IsSkipping() || bPasses) return;
  const bool bHtml = m_eForm == Form::kHtml;
  if (bHtml ? IsNoPartOfHtml(eDestination) : eDestination == Destination::kHtmlTag) {
    eDestination = Destination::kSkip;
  }
  m_objState.eDestination = Redirect(eNow, eDestination);
  m_objState.bBegins = m_objState.eDestination == eDestination;
  if (m_objState.bBegins) Prepare(eDestination);
}

// Destinations that mean something else, or nothing, where they stand.
Destination Reader::Redirect(Destination eNow, Destination eDestination) {
  switch (eDestination) {
    case Destination::kHeader:
      m_objNotes.Add(Note::kHeaders);
      return Destination::kSkip;
    case Destination::kComment:
      m_objNotes.Add(Note::kComments);
      return Destination::kSkip;
    case Destination::kInstruction:
      return eNow == Destination::kInstruction ? Destination::kSkip : eDestination;
    case Destination::kField:
    case Destination::kResult:
      return eNow == Destination::kInstruction ? eNow : eDestination;
    case Destination::kList:
      return eNow == Destination::kListTable ? eDestination : eNow;
    case Destination::kListLevel:
      return eNow == Destination::kList ? eDestination : eNow;
    case Destination::kLevelText:
      return eNow == Destination::kListLevel ? eDestination : Destination::kSkip;
    case Destination::kPicture: {
      const bool bOther = eNow == Destination::kShapeValue && m_strShapeName != kPictureOfShape;
      return bOther || IsLeftOut() ? Destination::kSkip : eDestination;
    }
    case Destination::kListText:
      return m_objPage.Text().IsInLabel() ? eNow : eDestination;
    case Destination::kShapeText:
      return BeginAside(HtmlPage::Aside::kDrawing, BoxStyle(m_objDrawing)) ? eDestination
                                                                           : Destination::kBody;
    case Destination::kFootnote:
      return BeginAside(HtmlPage::Aside::kFootnote) ? eDestination : Destination::kBody;
    default:
      return eDestination;
  }
}

bool Reader::BeginAside(HtmlPage::Aside eKind, std::string strCss) {
  if (m_eForm == Form::kHtml || !m_objPage.BeginAside(eKind, std::move(strCss))) return false;
  m_objState.objParagraph = {};
  return true;
}

void Reader::Prepare(Destination eDestination) {
  switch (eDestination) {
    case Destination::kColorTable:
      m_objDocument.arrColors.clear();
      m_nColor = 0;
      m_bColorGiven = false;
      return;
    case Destination::kFontTable:
      m_nFontDefined = 0;
      return;
    case Destination::kStyleSheet:
      m_nStyleDefined = 0;
      return m_strCollected.clear();
    case Destination::kList:
      return m_objDocument.objLists.BeginList();
    case Destination::kListLevel:
      return (void)m_objDocument.objLists.BeginLevel();
    case Destination::kOverride:
      return m_objDocument.objLists.BeginOverride();
    case Destination::kOverrideLevel:
      return m_objDocument.objLists.BeginOverrideLevel();
    case Destination::kLevelText:
    case Destination::kBookmark:
      return m_strCollected.clear();
    case Destination::kShapeName:
      return m_strShapeName.clear();
    case Destination::kShapeValue:
      return m_strShapeValue.clear();
    case Destination::kField:
      return m_arrFields.push_back({.nPuts = m_objPage.Puts()});
    case Destination::kResult:
      return TakeLink();
    case Destination::kListText:
      return m_objPage.Text().BeginLabel();
    case Destination::kOldList:
      m_objOldLevel = {};
      m_strOldBefore.clear();
      m_strOldAfter.clear();
      return;
    case Destination::kPicture:
      m_objPicture = {};
      m_strPicture.clear();
      m_nHexHigh = -1;
      return;
    case Destination::kShape:
      m_objDrawing = {};
      [[fallthrough]];
    case Destination::kObject:
      m_nObjectPuts = m_objPage.Puts();
      return;
    default:
      return;
  }
}

void Reader::EndDestination(const State& objEnded) {
  switch (objEnded.eDestination) {
    case Destination::kFontTable:
      return m_objDocument.objFonts.Close(m_nFontDefined);
    case Destination::kLevelText:
      return EndLevelText();
    case Destination::kBookmark: {
      std::string strName;
      AppendAttribute(strName, m_strCollected);
      return m_objPage.PutPlace(strName);
    }
    case Destination::kField:
      return EndField();
    case Destination::kListText:
      return m_objPage.Text().EndLabel();
    case Destination::kOldList:
      return EndOldList();
    case Destination::kPicture:
      return EndPicture(objEnded.objCharacters);
    case Destination::kShapeValue:
      return SetProperty(m_objDrawing, m_strShapeName, m_strShapeValue);
    case Destination::kObject:
      if (m_objPage.Puts() == m_nObjectPuts) m_objNotes.Add(Note::kObject);
      return;
    case Destination::kShape:
      return EndShape();
    case Destination::kShapeText:
    case Destination::kFootnote:
      return m_objPage.EndAside(objEnded.objParagraph, objEnded.objCharacters);
    default:
      return;
  }
}

// --- Fields. ---

// The result of a field that is a link leads where its instruction says.
void Reader::TakeLink() {
  if (m_arrFields.empty()) return;
  Field& objOpen = m_arrFields.back();
  if (!std::exchange(objOpen.bParsed, true)) {
    const FieldInstruction objField = ParseFieldInstruction(objOpen.strInstruction);
    const bool bLink = objField.eKind == FieldInstruction::Kind::kLink;
    if (bLink && !objField.strTarget.empty()) objOpen.nLink = AddLink(objField.strTarget);
  }
  if (objOpen.nLink != kNoLink) m_objState.objCharacters.nLink = objOpen.nLink;
}

int Reader::AddLink(std::u16string_view strTarget) {
  std::string strValue;
  AppendAttribute(strValue, strTarget);
  m_objDocument.arrLinks.push_back(std::move(strValue));
  return static_cast<int>(m_objDocument.arrLinks.size() - 1);
}

// Fields without a result show what their instruction names.
void Reader::EndField() {
  const Field objDone = std::exchange(m_arrFields.back(), {});
  m_arrFields.pop_back();
  if (m_objPage.Puts() != objDone.nPuts || m_eForm == Form::kHtml || IsLeftOut()) return;
  const FieldInstruction objField = ParseFieldInstruction(objDone.strInstruction);
  CharacterFormat objFormat = m_objState.objCharacters;
  std::u16string strText = objField.strTarget;
  if (objField.eKind == FieldInstruction::Kind::kSymbol) {
    const Font objFont{.strName = objField.strFont,
                       .nPage = kWesternPage,
                       .eSymbol = SymbolFontOf(objField.strFont)};
    const char ch = static_cast<char>(objField.chSymbol);
    bool bUnknown = false;
    if (objField.chSymbol < 0x100)
      strText = DecodeText({&ch, 1}, &objFont, kWesternPage, &bUnknown);
  } else if (!strText.empty()) {
    objFormat.nLink = AddLink(strText);
  }
  for (std::size_t n = 0; n < strText.size();) {
    m_objPage.PutCharacter(TakeCharacter(strText, n), objFormat);
  }
}

// --- Lists. ---

// The first unit is the length of what follows, which a semicolon ends.
void Reader::EndLevelText() {
  if (m_strCollected.empty()) return;
  const std::size_t nLength = m_strCollected[0];
  m_objDocument.objLists.Level().strText = m_strCollected.substr(1, nLength);
}

void Reader::EndOldList() {
  if (m_objOldLevel.nFormat == kNoNumber) {
    m_objState.objParagraph.nList = 0;
    return;
  }
  m_objOldLevel.strText = m_strOldBefore;
  if (m_objOldLevel.nFormat != kBulletFormat) {
    m_objOldLevel.strText += u'\0';
    m_objOldLevel.strText += m_strOldAfter;
  }
  m_objState.objParagraph.nList = m_objDocument.objLists.AddOld(m_objOldLevel);
  m_objState.objParagraph.nListLevel = 0;
  m_objPage.Text().MarkListItem();
}

void Reader::TakeListWord(const WordEntry& objWord, const Token& objToken) {
  const Destination eNow = m_objState.eDestination;
  ListTable& objLists = m_objDocument.objLists;
  const int nNumber = std::clamp(objToken.nNumber, 0, kMostStart);
  if (objWord.eWord == Word::kListId) {
    if (eNow == Destination::kList) objLists.NameList(objToken.nNumber);
    if (eNow == Destination::kOverride) objLists.SetOverrideList(objToken.nNumber);
  } else if (objWord.eWord == Word::kOldFont) {
    m_objState.objCharacters.nFont = objToken.nNumber;
  } else if (eNow == Destination::kOverrideLevel) {
    if (objWord.eWord == Word::kNumberStart) objLists.SetOverrideStart(nNumber);
  } else if (eNow == Destination::kListLevel || eNow == Destination::kOldList) {
    ListLevel& objLevel = eNow == Destination::kOldList ? m_objOldLevel : objLists.Level();
    if (objWord.eWord == Word::kNumberFormat) objLevel.nFormat = nNumber;
    if (objWord.eWord == Word::kOldKind) objLevel.nFormat = objWord.nArgument;
    if (objWord.eWord == Word::kNumberStart) objLevel.nStart = nNumber;
  }
}

// --- Pictures. ---

void Reader::EndShape() {
  if (m_objPage.Puts() != m_nObjectPuts || IsLeftOut()) return;
  const std::string strCss = m_eForm == Form::kHtml ? std::string() : ShapeStyle(m_objDrawing);
  if (strCss.empty()) return m_objNotes.Add(Note::kDrawing);
  m_objPage.PutShape(strCss);
}

void Reader::TakePictureWord(const WordEntry& objWord, const Token& objToken) {
  constexpr int kMost = 1'000'000;
  const int nNumber = std::clamp(objToken.nNumber, -kMost, kMost);
  if (objWord.eWord == Word::kShapeEdge && m_objState.eDestination == Destination::kShape) {
    m_objDrawing.arrEdges[static_cast<std::size_t>(objWord.nArgument)] = nNumber;
  }
  if (m_objState.eDestination != Destination::kPicture) return;
  switch (objWord.eWord) {
    case Word::kPictureKind:
      m_objPicture.eKind = static_cast<PictureKind>(objWord.nArgument);
      break;
    case Word::kPictureWidth:
      m_objPicture.nWidth = nNumber;
      break;
    case Word::kPictureHeight:
      m_objPicture.nHeight = nNumber;
      break;
    case Word::kGoalWidth:
      m_objPicture.nGoalWidth = nNumber;
      break;
    case Word::kGoalHeight:
      m_objPicture.nGoalHeight = nNumber;
      break;
    case Word::kScaleX:
      m_objPicture.nScaleX = nNumber;
      break;
    case Word::kScaleY:
      m_objPicture.nScaleY = nNumber;
      break;
    case Word::kCrop:
      m_objPicture.arrCrop[static_cast<std::size_t>(objWord.nArgument)] = nNumber;
      break;
    case Word::kBitsPerPixel:
      m_objPicture.nBitsPerPixel = std::clamp(nNumber, 1, 32);
      break;
    case Word::kPlanes:
      m_objPicture.nPlanes = std::clamp(nNumber, 1, 32);
      break;
    case Word::kRowBytes:
      m_objPicture.nRowBytes = nNumber;
      break;
    default:
      break;
  }
}

void Reader::AddHex(std::string_view strText) {
  for (const char ch : strText) {
    const int nDigit = HexDigit(ch);
    if (nDigit < 0) continue;
    if (m_nHexHigh < 0) {
      m_nHexHigh = nDigit;
    } else {
      m_strPicture += static_cast<char>(m_nHexHigh * 16 + nDigit);
      m_nHexHigh = -1;
    }
  }
}

// The page gets a mark, and the picture its number when the page is whole: numbers must follow the
// order in which a reader of the page meets them.
void Reader::EndPicture(const CharacterFormat& objFormat) {
  if (m_strPicture.empty()) return m_objNotes.Add(Note::kPictureUnreadable);
  if (m_objState.eDestination == Destination::kShapeValue) PlaceInFrame(m_objPicture, m_objDrawing);
  std::string strMark(1, kPictureMark);
  strMark += std::to_string(m_arrPictures.size()) + kPictureMark;
  m_objPage.PutPicture(strMark, objFormat);
  m_arrPictures.push_back({m_objPicture, std::exchange(m_strPicture, {})});
}

std::string Reader::SavePictures(std::string strWhole) {
  if (m_arrPictures.empty()) return strWhole;
  std::string_view strPage = strWhole;
  std::string strResult;
  strResult.reserve(strPage.size() + kTagSize * m_arrPictures.size());
  while (!strPage.empty()) {
    const std::size_t nMark = std::min(strPage.find(kPictureMark), strPage.size());
    strResult += strPage.substr(0, nMark);
    strPage.remove_prefix(nMark);
    if (strPage.empty()) break;
    std::size_t nPicture = 0;
    const std::size_t nEnd = strPage.find(kPictureMark, 1);
    for (const char ch : strPage.substr(1, nEnd - 1)) {
      nPicture = nPicture * 10 + static_cast<std::size_t>(ch - '0');
    }
    strResult += SavePicture(m_arrPictures[nPicture]);
    strPage.remove_prefix(nEnd + 1);
  }
  return strResult;
}

std::string Reader::SavePicture(Picture& objPicture) {
  const PictureFile objFile =
      MakePictureFile(objPicture.objHeader, std::exchange(objPicture.strBytes, {}));
  if (objFile.strBytes.empty()) {
    m_objNotes.Add(Note::kPictureUnreadable);
    return {};
  }
  if (!objFile.bDrawn) m_objNotes.Add(Note::kPictureNotDrawn);
  m_nSteps += objFile.strBytes.size();
  return PictureTag(objPicture.objHeader, m_objSaver.Save(objFile.strExtension, objFile.strBytes));
}

}  // namespace rtf
