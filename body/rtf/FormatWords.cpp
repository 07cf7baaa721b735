#include "body/rtf/FormatWords.h"

#include <algorithm>
#include <climits>

namespace rtf {
namespace {

constexpr int kMostTwips = 100'000;  // about 1.7 metres
constexpr int kAutoSpace = 280;      // twips, of \sbauto and \saauto
constexpr int kThickBorder = 30;
constexpr std::size_t kMostCells = 4096;  // of a row

int Twips(const Token& objToken) { return std::clamp(objToken.nNumber, -kMostTwips, kMostTwips); }

// \b is on, \b0 is off.
bool IsOn(const Token& objToken) { return !objToken.bHasNumber || objToken.nNumber != 0; }

void Toggle(CharacterFormat& objFormat, int nFlag, bool bOn) {
  objFormat.nFlags =
      static_cast<std::uint16_t>(bOn ? objFormat.nFlags | nFlag : objFormat.nFlags & ~nFlag);
}

void EndCell(RowFormat& objRow, const Token& objToken) {
  if (objRow.arrCells.size() < kMostCells) {
    objRow.objNext.nRight = Twips(objToken);
    objRow.arrCells.push_back(objRow.objNext);
  }
  objRow.objNext = {};
}

template <class Run>
void ForSides(Borders& arrBorders, int nSides, Run Apply) {
  for (std::size_t n = 0; n < arrBorders.size(); ++n) {
    if ((nSides >> n & 1) != 0) Apply(arrBorders[n]);
  }
}

void ChangeBorder(Border& objBorder, const WordEntry& objWord, const Token& objToken) {
  switch (objWord.eWord) {
    case Word::kBorderLine:
      objBorder.eLine = static_cast<BorderLine>(objWord.nArgument);
      if (objWord.strName == "brdrth") objBorder.nWidth = kThickBorder;
      break;
    case Word::kBorderWidth:
      objBorder.nWidth = Twips(objToken);
      break;
    case Word::kBorderColor:
      objBorder.nColor = objToken.nNumber;
      break;
    default:
      objBorder.nSpace = Twips(objToken);
      break;
  }
}

}  // namespace

void ApplyCharacterWord(CharacterFormat& objFormat, const WordEntry& objWord,
                        const Token& objToken) {
  const int nNumber = objToken.nNumber;
  switch (objWord.eWord) {
    case Word::kPlain: {
      const int nLink = objFormat.nLink;
      objFormat = {};
      objFormat.nLink = nLink;
      break;
    }
    case Word::kFlag:
      Toggle(objFormat, objWord.nArgument, IsOn(objToken));
      break;
    case Word::kUnderline:
      objFormat.eUnderline =
          IsOn(objToken) ? static_cast<Underline>(objWord.nArgument) : Underline::kNone;
      break;
    case Word::kUnderlineColor:
      objFormat.nUnderlineColor = nNumber;
      break;
    case Word::kScript:
      objFormat.eScript = IsOn(objToken) ? static_cast<Script>(objWord.nArgument) : Script::kNone;
      break;
    case Word::kRaise:
      objFormat.nRaise = std::clamp(objToken.bHasNumber ? nNumber : 6, -1000, 1000);
      break;
    case Word::kLower:
      objFormat.nRaise = -std::clamp(objToken.bHasNumber ? nNumber : 6, -1000, 1000);
      break;
    case Word::kFont:
      objFormat.nFont = std::max(nNumber, kNoFont);
      break;
    case Word::kSize:
      objFormat.nSize = nNumber > 0 ? std::min(nNumber, 3276) : kDefaultSize;
      break;
    case Word::kColor:
      objFormat.nColor = nNumber;
      break;
    case Word::kBackground:
      objFormat.nBackground = nNumber;
      break;
    case Word::kHighlight:
      objFormat.nHighlight = nNumber;
      break;
    case Word::kSpacingQuarters:
      objFormat.nSpacing = Twips(objToken) * 5;
      break;
    case Word::kSpacing:
      objFormat.nSpacing = Twips(objToken);
      break;
    default:
      break;
  }
}

void ApplyParagraphWord(ParagraphFormat& objFormat, const WordEntry& objWord,
                        const Token& objToken) {
  const int nNumber = objToken.nNumber;
  switch (objWord.eWord) {
    case Word::kPard:
      objFormat = {};
      break;
    case Word::kAlign:
      objFormat.eAlign = static_cast<Align>(objWord.nArgument);
      break;
    case Word::kLeft:
      objFormat.nLeft = Twips(objToken);
      break;
    case Word::kRight:
      objFormat.nRight = Twips(objToken);
      break;
    case Word::kFirst:
      objFormat.nFirst = Twips(objToken);
      break;
    case Word::kBefore:
      objFormat.nBefore = Twips(objToken);
      break;
    case Word::kAfter:
      objFormat.nAfter = Twips(objToken);
      break;
    case Word::kAutoBefore:
      if (IsOn(objToken)) objFormat.nBefore = kAutoSpace;
      break;
    case Word::kAutoAfter:
      if (IsOn(objToken)) objFormat.nAfter = kAutoSpace;
      break;
    case Word::kLine:
      objFormat.nLine = Twips(objToken);
      break;
    case Word::kLineMultiple:
      objFormat.bLineMultiple = IsOn(objToken);
      break;
    case Word::kDirection:
      objFormat.bRightToLeft = objWord.nArgument != 0;
      break;
    case Word::kInTable:
      objFormat.bInTable = IsOn(objToken);
      break;
    case Word::kTableLevel:
      objFormat.nTableLevel = std::clamp(nNumber, 0, 1000);
      break;
    case Word::kPageBefore:
      objFormat.bPageBreak = IsOn(objToken);
      break;
    case Word::kOutline:
      objFormat.nOutline = static_cast<std::int8_t>(nNumber >= 0 && nNumber <= 8 ? nNumber : -1);
      break;
    case Word::kShade:
      objFormat.nShade = nNumber;
      break;
    case Word::kPattern:
      objFormat.nPattern = nNumber;
      break;
    case Word::kPatternColor:
      objFormat.nPatternColor = nNumber;
      break;
    case Word::kTabStop:
      objFormat.objTabs.Add(Twips(objToken));
      break;
    case Word::kTabKind:
      objFormat.objTabs.eNext = static_cast<TabKind>(objWord.nArgument);
      break;
    case Word::kList:
      objFormat.nList = std::max(nNumber, 0);
      break;
    case Word::kListLevel:
      objFormat.nListLevel = static_cast<std::uint8_t>(std::clamp(nNumber, 0, 8));
      break;
    default:
      break;
  }
}

void ApplyRowWord(RowFormat& objRow, const WordEntry& objWord, const Token& objToken) {
  CellFormat& objCell = objRow.objNext;
  switch (objWord.eWord) {
    case Word::kCellEnd:
      EndCell(objRow, objToken);
      break;
    case Word::kRowLeft:
      objRow.nLeft = Twips(objToken);
      break;
    case Word::kRowGap:
      objRow.nGap = Twips(objToken);
      break;
    case Word::kRowPadding:
      (objWord.nArgument == kLeft ? objRow.nPadLeft : objRow.nPadRight) = Twips(objToken);
      break;
    case Word::kCellPadding:
      objCell.arrPadding[static_cast<std::size_t>(objWord.nArgument)] =
          std::max(Twips(objToken), 0);
      break;
    case Word::kRowHeight:
      objRow.nHeight = std::abs(Twips(objToken));
      break;
    case Word::kRowAlign:
      objRow.eAlign = static_cast<Align>(objWord.nArgument);
      break;
    case Word::kRowDirection:
      objRow.bRightToLeft = objWord.nArgument != 0;
      break;
    case Word::kMergeAcross:
      objCell.eAcross = static_cast<Merge>(objWord.nArgument);
      break;
    case Word::kMergeDown:
      objCell.eDown = static_cast<Merge>(objWord.nArgument);
      break;
    case Word::kCellAlign:
      objCell.eAlign = static_cast<VerticalAlign>(objWord.nArgument);
      break;
    case Word::kCellShade:
      objCell.nShade = objToken.nNumber;
      break;
    case Word::kCellPattern:
      objCell.nPattern = objToken.nNumber;
      break;
    case Word::kCellPatternColor:
      objCell.nPatternColor = objToken.nNumber;
      break;
    default:
      break;
  }
}

void BorderWords::Apply(ParagraphFormat& objParagraph, RowFormat& objRow, const WordEntry& objWord,
                        const Token& objToken) {
  const bool bNamesSides = objWord.eWord == Word::kParagraphBorder ||
                           objWord.eWord == Word::kCellBorder || objWord.eWord == Word::kRowBorder;
  if (bNamesSides) {
    m_eTarget = objWord.eWord;
    m_nSides = objWord.nArgument;
  }
  const auto Change = [&](Border& objBorder) {
    if (bNamesSides) {
      objBorder = Border{.bGiven = true};
    } else {
      ChangeBorder(objBorder, objWord, objToken);
    }
  };
  if (m_eTarget == Word::kParagraphBorder) ForSides(objParagraph.arrBorders, m_nSides, Change);
  if (m_eTarget == Word::kCellBorder) ForSides(objRow.objNext.arrBorders, m_nSides, Change);
  if (m_eTarget != Word::kRowBorder) return;
  ForSides(objRow.arrBorders, m_nSides, Change);
  if ((m_nSides & kInnerRows) != 0) Change(objRow.objInnerRows);
  if ((m_nSides & kInnerColumns) != 0) Change(objRow.objInnerColumns);
}

}  // namespace rtf
