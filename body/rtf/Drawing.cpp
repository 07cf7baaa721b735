#include "body/rtf/Drawing.h"

#include <algorithm>

#include "body/rtf/Styles.h"

namespace rtf {
namespace {

constexpr int kTextBox = 202;  // a type
constexpr int kDefaultLine = 9525;
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
  if (bLine && arrNumbers[Drawing::kLined] != 0) {
    const int nLine = arrNumbers[Drawing::kLineWidth];
    Border objBorder{.eLine = BorderLine::kSolid};
    objBorder.nWidth = (nLine > 0 ? nLine : kDefaultLine) / kLineUnits;
    AppendBorder(strCss, "border", objBorder, ToRgb(std::max(arrNumbers[Drawing::kLineColor], 0)));
    strCss += "padding:3pt;";
  }
  const int nFill = arrNumbers[Drawing::kFillColor];
  if (nFill >= 0 && arrNumbers[Drawing::kFilled] != 0) {
    AppendColor(strCss, "background", ToRgb(nFill));
  }
  return strCss;
}

}  // namespace rtf
