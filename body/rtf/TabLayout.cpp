#include "body/rtf/TabLayout.h"

#include <algorithm>
#include <utility>

#include "body/rtf/DecimalPoint.h"

namespace rtf {
namespace {

constexpr std::string_view kHardBlank = "&#160;";
constexpr std::string_view kTab = "&#9;";
constexpr std::string_view kPlainTab = "<span style=\"white-space:pre\">&#9;</span>";
constexpr std::string_view kToRight = "<span style=\"float:right\">";
constexpr std::string_view kCentered =
    "<span style=\"display:inline-block;text-indent:0;transform:translateX(-50%)\">";
constexpr std::string_view kSpanEnd = "</span>";
constexpr int kMostWidth = 100'000;  // twips

// Puts strTab into each tab's place.
std::string Join(const TabbedText& objText, std::string_view strTab) {
  std::string strHtml;
  std::size_t nDone = 0;
  for (const TextMark& objMark : objText.arrMarks) {
    strHtml.append(objText.strHtml, nDone, objMark.nAt - nDone);
    if (objMark.nTag == 0) strHtml += strTab;
    nDone = objMark.nAt;
  }
  return strHtml.append(objText.strHtml, nDone);
}

// Lays out one line after the other, from left to right.
class Boxes {
 public:
  Boxes(const ParagraphFormat& objFormat, int nDefaultTab, StyleBudget& objBudget)
      : m_objFormat(objFormat),
        m_nDefaultTab(nDefaultTab),
        m_objBudget(objBudget),
        m_nStart(objFormat.nLeft + objFormat.nFirst) {}

  void Break(std::string_view strPiece, std::string_view strTag) {
    TakePiece(strPiece, 0);
    m_strHtml.append(std::exchange(m_strPiece, {})).append(strTag);
    m_bFirstLine = false;
    m_nStart = m_objFormat.nLeft;
    m_nText = 0;
  }
  void Tab(std::string_view strPiece, int nWidth) {
    TakePiece(strPiece, nWidth);
    const TabStops::Stop objStop = NextStop();
    if (objStop.Kind() == TabKind::kRight || objStop.Kind() == TabKind::kDecimal) {
      m_objRight = objStop;
      m_bRight = true;
      return;
    }
    EndBox(objStop.nAt, {});
    m_bCenter = objStop.Kind() == TabKind::kCenter;
  }
  std::string Finish(std::string_view strPiece) {
    Break(strPiece, {});
    return std::move(m_strHtml);
  }

 private:
  // What follows a stop at its right end, of a number the part before its point, belongs into the
  // box before it; what follows one in the middle lies shifted around it.
  void TakePiece(std::string_view strPiece, int nWidth) {
    if (std::exchange(m_bRight, false)) {
      if (m_objRight.Kind() == TabKind::kRight) return EndBox(m_objRight.nAt, strPiece);
      DecimalHalves objHalves = SplitAtDecimalPoint(strPiece);
      if (!m_objBudget.Spend(objHalves.strFraction.size())) objHalves = {std::string(strPiece)};
      EndBox(m_objRight.nAt, objHalves.strWhole);
      m_strPiece = std::move(objHalves.strFraction);
      m_nText = nWidth * static_cast<int>(objHalves.nFractionPart) / 100;
    } else if (std::exchange(m_bCenter, false) && m_objBudget.Spend(kCentered.size())) {
      m_strPiece.append(kCentered).append(strPiece).append(kSpanEnd);
      m_nText += nWidth / 2;
    } else {
      m_strPiece += strPiece;
      m_nText += nWidth;
    }
  }

  void EndBox(int nEnd, std::string_view strAtRight) {
    std::string strCss = "display:inline-block;text-indent:0;";
    AppendLength(strCss, "min-width", nEnd - m_nStart);
    const std::string strStyle = StyleAttribute(strCss);
    std::string strPiece = std::exchange(m_strPiece, {});
    if (strPiece.empty()) strPiece = kHardBlank;  // gives the box its line
    if (m_objBudget.Spend(strStyle.size() + kToRight.size())) {
      m_strHtml.append("<span").append(strStyle).append(">").append(strPiece).append(kTab);
      if (!strAtRight.empty()) m_strHtml.append(kToRight).append(strAtRight).append(kSpanEnd);
      m_strHtml += kSpanEnd;
    } else {
      m_strHtml.append(strPiece).append(kTab).append(strAtRight);
    }
    m_nStart = nEnd < kMostWidth ? nEnd : m_objFormat.nLeft;  // no line is longer
    m_nText = 0;
  }

  // A hanging first line has a stop where the other lines begin.
  TabStops::Stop NextStop() const {
    const int nText = m_nStart + m_nText;
    const int nBefore = nText / m_nDefaultTab * m_nDefaultTab;
    TabStops::Stop objNext{nBefore > nText ? nBefore : nBefore + m_nDefaultTab, 0};
    bool bOwn = false;
    const auto Consider = [&](const TabStops::Stop& objStop) {
      if (objStop.nAt <= nText || (bOwn && objStop.nAt >= objNext.nAt)) return;
      objNext = objStop;
      bOwn = true;
    };
    for (const TabStops::Stop& objStop : m_objFormat.objTabs.All()) Consider(objStop);
    if (m_bFirstLine && m_objFormat.nFirst < 0) Consider({m_objFormat.nLeft, 0});
    return objNext;
  }

  const ParagraphFormat& m_objFormat;
  const int m_nDefaultTab;
  StyleBudget& m_objBudget;
  std::string m_strHtml;
  std::string m_strPiece;  // of the box that is being filled
  int m_nStart;            // of that box, from the margin
  int m_nText = 0;         // the width of what is in it
  TabStops::Stop m_objRight{};
  bool m_bRight = false;   // the next piece ends at m_objRight
  bool m_bCenter = false;  // the next piece lies around m_nStart
  bool m_bFirstLine = true;
};

}  // namespace

int TabGrid(const ParagraphFormat& objFormat, int nDefaultTab) {
  const auto arrStops = objFormat.objTabs.All();
  const int nStep = arrStops.empty() ? nDefaultTab : arrStops[0].nAt;
  if (objFormat.bRightToLeft) return nStep;
  for (std::size_t n = 0; n < arrStops.size(); ++n) {
    const bool bInStep = arrStops[n].nAt == static_cast<int>(n + 1) * nStep;
    if (!bInStep || arrStops[n].Kind() != TabKind::kLeft) return 0;
  }
  return objFormat.nLeft % nStep == 0 && objFormat.nFirst >= 0 ? nStep : 0;
}

std::string LayTabsInGrid(const TabbedText& objText) { return Join(objText, kTab); }

std::string LayTabsInBoxes(const TabbedText& objText, const ParagraphFormat& objFormat,
                           int nDefaultTab, StyleBudget& objBudget) {
  Boxes objBoxes(objFormat, nDefaultTab, objBudget);
  const std::string_view strHtml = objText.strHtml;
  std::size_t nDone = 0;
  for (const TextMark& objMark : objText.arrMarks) {
    const std::string_view strPiece = strHtml.substr(nDone, objMark.nAt - nDone);
    if (objMark.nTag == 0) {
      objBoxes.Tab(strPiece, objMark.nWidth);
    } else {
      objBoxes.Break(strPiece, strHtml.substr(objMark.nAt, objMark.nTag));
    }
    nDone = objMark.nAt + objMark.nTag;
  }
  return objBoxes.Finish(strHtml.substr(nDone));
}

std::string LayPlainTabs(const TabbedText& objText, StyleBudget& objBudget) {
  const bool bRoom = objBudget.Spend(kPlainTab.size() * objText.arrMarks.size());
  return Join(objText, bRoom ? kPlainTab : kTab);
}

}  // namespace rtf
