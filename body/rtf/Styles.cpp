#include "body/rtf/Styles.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "body/rtf/HtmlText.h"

namespace rtf {
namespace {

constexpr std::size_t kMostFontName = 64;  // units
constexpr int kFullPattern = 10000;        // hundredths of a percent
constexpr int kLeastLine = 10;             // twips; thinner ones would vanish on a screen
constexpr int kWhite = 0xFFFFFF;

constexpr std::array<std::string_view, 5> kFamilies = {"", ",serif", ",sans-serif", ",monospace",
                                                       ",cursive"};
constexpr std::array<std::string_view, 7> kLines = {"none",   "solid", "double", "dotted",
                                                    "dashed", "inset", "outset"};
constexpr std::array<std::string_view, kSides> kSideNames = {"top", "right", "bottom", "left"};
constexpr std::array<std::string_view, 5> kAligns = {"", "left", "right", "center", "justify"};
// What <u> alone does not say.
constexpr std::array<std::string_view, 7> kUnderlines = {"",       "",     "double",      "dotted",
                                                         "dashed", "wavy", "solid 0.13em"};

template <class Table, class Enum>
std::string_view NameOf(const Table& arrNames, Enum eValue) {
  return arrNames[static_cast<std::size_t>(eValue)];
}

struct FlagTag {
  CharacterFlag eFlag;
  std::string_view strTag;
};
constexpr std::array kFlagTags = {FlagTag{kBold, "b"}, FlagTag{kItalic, "i"},
                                  FlagTag{kStrike, "s"}};

struct FlagStyle {
  CharacterFlag eFlag;
  std::string_view strStyle;
};
constexpr std::array kFlagStyles = {
    FlagStyle{kCapitals, "text-transform:uppercase;"},
    FlagStyle{kSmallCapitals, "font-variant:small-caps;"},
    FlagStyle{kDoubleStrike, "text-decoration:line-through double;"},
    FlagStyle{kOutline, "-webkit-text-stroke:1px;-webkit-text-fill-color:transparent;"},
    FlagStyle{kShadow, "text-shadow:1px 1px 2px #808080;"},
};

bool MayStandInName(char32_t ch) {
  return ch >= 0x80 || (ch >= '0' && ch <= '9') || (ch >= 'a' && ch <= 'z') ||
         (ch >= 'A' && ch <= 'Z') || ch == ' ' || ch == '-' || ch == '_';
}

void AddTag(RunTags& objTags, std::string_view strTag, std::string_view strAttributes = "") {
  objTags.strOpen.append("<").append(strTag).append(strAttributes).append(">");
  objTags.strClose.insert(0, "</" + std::string(strTag) + ">");
}

// Documents have a font several times over, once for each charset.
void AppendOtherFont(std::string& strCss, int nFont, int nBase, const Document& objDocument) {
  if (nFont == nBase) return;
  const Font* pFont = objDocument.FontOf(nFont);
  const Font* pBase = objDocument.FontOf(nBase);
  if (pFont && pBase && pFont->strName == pBase->strName) return;
  AppendFont(strCss, pFont);
}

std::string SpanStyle(const CharacterFormat& objFormat, const CharacterFormat& objBase,
                      const Document& objDocument) {
  std::string strCss;
  AppendOtherFont(strCss, objFormat.nFont, objBase.nFont, objDocument);
  if (objFormat.nSize != objBase.nSize) AppendSize(strCss, objFormat.nSize);
  // Programs say of all text that it is black, which it is; links are not by themselves.
  const int nColor = objDocument.Color(objFormat.nColor);
  if (nColor != 0 || objFormat.nLink != kNoLink) AppendColor(strCss, "color", nColor);
  const int nHighlight = objDocument.SurfaceColor(objFormat.nHighlight);
  AppendColor(
      strCss, "background",
      nHighlight != kNoColor ? nHighlight : objDocument.SurfaceColor(objFormat.nBackground));
  if (objFormat.nSpacing != 0) AppendLength(strCss, "letter-spacing", objFormat.nSpacing);
  if (objFormat.nRaise != 0) AppendLength(strCss, "vertical-align", objFormat.nRaise * 10);
  for (const FlagStyle& objStyle : kFlagStyles) {
    if (objFormat.Is(objStyle.eFlag)) strCss += objStyle.strStyle;
  }
  return strCss;
}

std::string UnderlineAttributes(const CharacterFormat& objFormat, const Document& objDocument) {
  const std::string_view strKind = NameOf(kUnderlines, objFormat.eUnderline);
  const int nColor = objDocument.SurfaceColor(objFormat.nUnderlineColor);
  std::string strCss;
  if (!strKind.empty()) strCss.append("text-decoration:underline ").append(strKind).append(";");
  AppendColor(strCss, "text-decoration-color", nColor);
  return StyleAttribute(strCss);
}

int Mix(int nOver, int nUnder, int nPattern) {
  int nRgb = 0;
  for (const int nShift : {16, 8, 0}) {
    const int nA = nOver >> nShift & 0xFF;
    const int nB = nUnder >> nShift & 0xFF;
    nRgb |= (nB + (nA - nB) * nPattern / kFullPattern) << nShift;
  }
  return nRgb;
}

}  // namespace

void AppendRgb(std::string& strCss, int nRgb) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  strCss += '#';
  for (int nShift = 20; nShift >= 0; nShift -= 4) {
    strCss += kDigits[static_cast<std::size_t>(nRgb >> nShift & 15)];
  }
}

std::string StyleAttribute(std::string_view strCss) {
  if (strCss.empty()) return {};
  if (strCss.ends_with(';')) strCss.remove_suffix(1);
  return std::string(" style=\"").append(strCss).append("\"");
}

void AppendStyle(std::string& strHtml, std::string_view strCss, StyleBudget& objBudget) {
  const std::string strAttribute = StyleAttribute(strCss);
  if (objBudget.Spend(strAttribute.size())) strHtml += strAttribute;
}

void AppendColor(std::string& strCss, std::string_view strProperty, int nRgb) {
  if (nRgb == kNoColor) return;
  strCss.append(strProperty).append(":");
  AppendRgb(strCss, nRgb);
  strCss += ';';
}

void AppendLength(std::string& strCss, std::string_view strProperty, int nTwips) {
  strCss.append(strProperty).append(":");
  AppendTwips(strCss, nTwips);
  strCss += ';';
}

void AppendFont(std::string& strCss, const Font* pFont) {
  if (pFont == nullptr || pFont->strName.empty()) return;
  std::string strName;
  const std::u16string_view strUnits = std::u16string_view(pFont->strName).substr(0, kMostFontName);
  for (std::size_t n = 0; n < strUnits.size();) {
    const char32_t ch = TakeCharacter(strUnits, n);
    if (MayStandInName(ch)) AppendCharacter(strName, ch);
  }
  if (strName.empty()) return;
  strCss.append("font-family:'").append(strName).append("'");
  strCss.append(NameOf(kFamilies, pFont->eFamily)).append(";");
}

void AppendSize(std::string& strCss, int nHalfPoints) {
  if (nHalfPoints > 0) AppendLength(strCss, "font-size", std::min(nHalfPoints, 3276) * 10);
}

void AppendBorders(std::string& strCss, const Borders& arrBorders, const Document& objDocument,
                   bool bWithNone) {
  for (std::size_t n = 0; n < arrBorders.size(); ++n) {
    const Border& objBorder = arrBorders[n];
    const bool bNone = objBorder.eLine == BorderLine::kNone;
    if (bNone && !(bWithNone && objBorder.bGiven)) continue;
    const int nColor = objDocument.Color(objBorder.nColor);
    AppendBorder(strCss, std::string("border-").append(kSideNames[n]), objBorder,
                 nColor == kNoColor ? 0 : nColor);
  }
}

void AppendBorder(std::string& strCss, std::string_view strProperty, const Border& objBorder,
                  int nRgb) {
  strCss.append(strProperty).append(":").append(NameOf(kLines, objBorder.eLine));
  if (objBorder.eLine != BorderLine::kNone) {
    // A double line takes the width of both lines and of the gap.
    const int nLines = objBorder.eLine == BorderLine::kDouble ? 3 : 1;
    strCss += ' ';
    AppendTwips(strCss, nLines * std::clamp(objBorder.nWidth, kLeastLine, 255));
    strCss += ' ';
    AppendRgb(strCss, nRgb);
  }
  strCss += ';';
}

int ShadeColor(const Document& objDocument, int nShade, int nPattern, int nPatternColor) {
  const int nUnder = objDocument.SurfaceColor(nShade);
  if (nPattern <= 0) return nUnder;
  const int nOver = objDocument.SurfaceColor(nPatternColor);
  return Mix(nOver == kNoColor ? 0 : nOver, nUnder == kNoColor ? kWhite : nUnder,
             std::min(nPattern, kFullPattern));
}

RunTags TagsOf(const CharacterFormat& objFormat, const CharacterFormat& objBase,
               const Document& objDocument) {
  RunTags objTags;
  const std::string strCss = SpanStyle(objFormat, objBase, objDocument);
  if (!strCss.empty()) AddTag(objTags, "span", StyleAttribute(strCss));
  for (const FlagTag& objTag : kFlagTags) {
    if (objFormat.Is(objTag.eFlag)) AddTag(objTags, objTag.strTag);
  }
  if (objFormat.eUnderline != Underline::kNone) {
    AddTag(objTags, "u", UnderlineAttributes(objFormat, objDocument));
  }
  if (objFormat.eScript == Script::kSuper) AddTag(objTags, "sup");
  if (objFormat.eScript == Script::kSub) AddTag(objTags, "sub");
  return objTags;
}

std::string ParagraphStyle(const ParagraphFormat& objFormat, const Document& objDocument) {
  std::string strCss;
  if (objFormat.nBefore > 0) AppendLength(strCss, "margin-top", objFormat.nBefore);
  if (objFormat.nAfter > 0) AppendLength(strCss, "margin-bottom", objFormat.nAfter);
  if (objFormat.eAlign != Align::kNone) {
    strCss.append("text-align:").append(NameOf(kAligns, objFormat.eAlign)).append(";");
  }
  if (objFormat.nLine != 0 && !objFormat.bLineMultiple) {
    AppendLength(strCss, "line-height", std::abs(objFormat.nLine));
  } else if (objFormat.nLine > 0 && objFormat.nLine != 240) {
    // A line of the format is about 1.2 times the size of its font.
    strCss += "line-height:" + std::to_string(std::min(objFormat.nLine, 24000) / 2) + "%;";
  }
  AppendColor(
      strCss, "background",
      ShadeColor(objDocument, objFormat.nShade, objFormat.nPattern, objFormat.nPatternColor));
  if (objFormat.bPageBreak) strCss += "page-break-before:always;";
  return strCss;
}

void AppendIndents(std::string& strCss, const ParagraphFormat& objFormat) {
  if (objFormat.nLeft != 0) AppendLength(strCss, "margin-left", objFormat.nLeft);
  if (objFormat.nRight != 0) AppendLength(strCss, "margin-right", objFormat.nRight);
  if (objFormat.nFirst != 0) AppendLength(strCss, "text-indent", objFormat.nFirst);
}

}  // namespace rtf
