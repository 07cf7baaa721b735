#include "body/rtf/Drawing.h"

#include <algorithm>

#include "body/rtf/HtmlText.h"
#include "body/rtf/Styles.h"

namespace rtf {
namespace {

// Types.
constexpr int kRectangle = 1;
constexpr int kRoundRectangle = 2;
constexpr int kEllipse = 3;
constexpr int kLine = 20;
constexpr int kConnector = 32;
constexpr int kTextBox = 202;

constexpr int kSteep = 20;  // times as long as wide: a line counts as level or upright
constexpr int kDefaultLine = 9525;
constexpr int kLeastHalf = 7;           // twips, of a slope; a thinner one would have gaps
constexpr int kLineUnits = 12700 / 20;  // in a twip
constexpr std::size_t kMostDigits = 9;

struct NamedProperty {
  std::u16string_view strName;
  Drawing::Property eProperty;
};
constexpr std::array kNames = {
    NamedProperty{u"cropFromTop", Drawing::kCropTop},
    NamedProperty{u"cropFromRight", Drawing::kCropRight},
    NamedProperty{u"cropFromBottom", Drawing::kCropBottom},
    NamedProperty{u"cropFromLeft", Drawing::kCropLeft},
    NamedProperty{u"fillColor", Drawing::kFillColor},
    NamedProperty{u"fFilled", Drawing::kFilled},
    NamedProperty{u"lineColor", Drawing::kLineColor},
    NamedProperty{u"fLine", Drawing::kLined},
    NamedProperty{u"lineWidth", Drawing::kLineWidth},
    NamedProperty{u"shapeType", Drawing::kType},
    NamedProperty{u"fFlipH", Drawing::kFlippedAcross},
    NamedProperty{u"fFlipV", Drawing::kFlippedDown},
};

int ToNumber(std::u16string_view str) {
  const bool bMinus = str.starts_with(u'-');
  int nValue = 0;
  for (const char16_t ch : str.substr(bMinus ? 1 : 0, kMostDigits)) {
    if (ch < u'0' || ch > u'9') break;
    nValue = nValue * 10 + (ch - u'0');
  }
  return bMinus ? -nValue : nValue;
}

// Drawings have blue in the highest byte.
int ToRgb(int nColor) { return (nColor & 0xFF) << 16 | (nColor & 0xFF00) | (nColor >> 16 & 0xFF); }

int LineWidth(const Drawing& objDrawing) {
  const int nLine = objDrawing.arrNumbers[Drawing::kLineWidth];
  return (nLine > 0 ? nLine : kDefaultLine) / kLineUnits;
}
int LineColor(const Drawing& objDrawing) {
  return ToRgb(std::max(objDrawing.arrNumbers[Drawing::kLineColor], 0));
}

void AppendLine(std::string& strCss, std::string_view strProperty, const Drawing& objDrawing) {
  Border objBorder{.eLine = BorderLine::kSolid};
  objBorder.nWidth = LineWidth(objDrawing);
  AppendBorder(strCss, strProperty, objBorder, LineColor(objDrawing));
}

void AppendFill(std::string& strCss, const Drawing& objDrawing) {
  const int nFill = objDrawing.arrNumbers[Drawing::kFillColor];
  if (nFill < 0 || objDrawing.arrNumbers[Drawing::kFilled] == 0) return;
  AppendColor(strCss, "background", ToRgb(nFill));
}

bool HasLine(const Drawing& objDrawing) { return objDrawing.arrNumbers[Drawing::kLined] != 0; }

// From corner to corner of its box: the middle of a gradient towards a corner goes through the two
// corners beside that.
void AppendSlope(std::string& strCss, const Drawing& objDrawing) {
  const auto& arrNumbers = objDrawing.arrNumbers;
  const bool bRises =
      (arrNumbers[Drawing::kFlippedAcross] > 0) != (arrNumbers[Drawing::kFlippedDown] > 0);
  std::string strHalf;
  AppendTwips(strHalf, std::max(LineWidth(objDrawing) / 2, kLeastHalf));
  std::string strLine;
  AppendRgb(strLine, LineColor(objDrawing));
  const std::string strFrom = " calc(50% - " + strHalf + ")",
                    strTo = " calc(50% + " + strHalf + ")";
  strCss.append("background:linear-gradient(to ").append(bRises ? "bottom" : "top");
  strCss += " right,transparent" + strFrom + ',' + strLine + strFrom + strTo;
  strCss += ",transparent" + strTo + ");";
}

std::string LineStyle(const Drawing& objDrawing, int nWidth, int nHeight) {
  std::string strCss;
  if (!HasLine(objDrawing)) return strCss;
  if (nWidth > 0 && nHeight <= nWidth / kSteep) {
    AppendLength(strCss, "width", nWidth);
    AppendLine(strCss, "border-top", objDrawing);
  } else if (nHeight > 0 && nWidth <= nHeight / kSteep) {
    AppendLength(strCss, "height", nHeight);
    AppendLine(strCss, "border-left", objDrawing);
  } else if (nWidth > 0 && nHeight > 0) {
    AppendLength(strCss, "width", nWidth);
    AppendLength(strCss, "height", nHeight);
    AppendSlope(strCss, objDrawing);
  }
  return strCss;
}

std::string FrameStyle(const Drawing& objDrawing, int nWidth, int nHeight) {
  std::string strCss;
  if (nWidth <= 0 || nHeight <= 0) return strCss;
  if (HasLine(objDrawing)) AppendLine(strCss, "border", objDrawing);
  AppendFill(strCss, objDrawing);
  if (strCss.empty()) return strCss;
  AppendLength(strCss, "width", nWidth);
  AppendLength(strCss, "height", nHeight);
  const int nType = objDrawing.arrNumbers[Drawing::kType];
  if (nType == kRoundRectangle) strCss += "border-radius:10%;";
  if (nType == kEllipse) strCss += "border-radius:50%;";
  return strCss;
}

}  // namespace

void SetProperty(Drawing& objDrawing, std::u16string_view strName, std::u16string_view strValue) {
  const auto it = std::ranges::find(kNames, strName, &NamedProperty::strName);
  if (it == kNames.end()) return;
  objDrawing.arrNumbers[it->eProperty] = ToNumber(strValue);
}

std::string BoxStyle(const Drawing& objDrawing) {
  const auto& arrNumbers = objDrawing.arrNumbers;
  std::string strCss;
  const int nWidth = objDrawing.arrEdges[kRight] - objDrawing.arrEdges[kLeft];
  if (nWidth > 0) AppendLength(strCss, "max-width", nWidth);
  const bool bLine = arrNumbers[Drawing::kLineColor] >= 0 || arrNumbers[Drawing::kType] == kTextBox;
  if (bLine && HasLine(objDrawing)) {
    AppendLine(strCss, "border", objDrawing);
    strCss += "padding:3pt;";
  }
  AppendFill(strCss, objDrawing);
  return strCss;
}

std::string ShapeStyle(const Drawing& objDrawing) {
  const int nWidth = objDrawing.arrEdges[kRight] - objDrawing.arrEdges[kLeft];
  const int nHeight = objDrawing.arrEdges[kBottom] - objDrawing.arrEdges[kTop];
  switch (objDrawing.arrNumbers[Drawing::kType]) {
    case kLine:
    case kConnector:
      return LineStyle(objDrawing, nWidth, nHeight);
    case kRectangle:
    case kRoundRectangle:
    case kEllipse:
      return FrameStyle(objDrawing, nWidth, nHeight);
    default:
      return {};
  }
}

}  // namespace rtf
