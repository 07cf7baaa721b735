#include "body/rtf/Block.h"

#include <algorithm>
#include <utility>

namespace rtf {
namespace {

constexpr int kLeastIndent = 360;  // twips; a marker needs some room
constexpr int kMostHeading = 5;    // from 0

std::string_view ListTag(bool bOrdered) { return bOrdered ? "ol" : "ul"; }

std::string ParagraphTag(const ParagraphFormat& objFormat) {
  const int nLevel = objFormat.nOutline;
  return nLevel < 0 || nLevel > kMostHeading ? "p" : "h" + std::to_string(nLevel + 1);
}

int LabelWidth(const ParagraphFormat& objFormat) {
  return std::max(-objFormat.nFirst, kLeastIndent);
}

void AppendTabGrid(std::string& strCss, const Paragraph& objParagraph) {
  if (objParagraph.nTabGrid == 0) return;
  strCss += "white-space:pre-wrap;";
  AppendLength(strCss, "tab-size", objParagraph.nTabGrid);
}

}  // namespace

void Block::AddParagraph(const Paragraph& objParagraph) {
  m_bEndsWithMarkup = false;
  CloseLists();
  if (objParagraph.bPlain) {
    m_strHtml.append(objParagraph.strLabel).append(objParagraph.strHtml).append("<br>\n");
    return;
  }
  EnterFrame(objParagraph.objFormat);
  const std::string strTag = ParagraphTag(objParagraph.objFormat);
  m_strHtml.append("<").append(strTag);
  if (objParagraph.objFormat.bRightToLeft) m_strHtml += " dir=\"rtl\"";
  AppendStyle(m_strHtml, FullStyle(objParagraph), m_objBudget);
  m_strHtml += '>';
  AppendLabel(objParagraph);
  m_strHtml.append(objParagraph.strHtml).append("</").append(strTag).append(">\n");
}

void Block::AddListItem(const Paragraph& objParagraph, const ListMarker& objMarker) {
  const ParagraphFormat& objFormat = objParagraph.objFormat;
  m_bEndsWithMarkup = false;
  EnterFrame(objFormat);
  EnterList(objFormat, objMarker);
  OpenList& objList = m_arrLists.back();
  m_strHtml += "<li";
  if (objFormat.bRightToLeft) m_strHtml += " dir=\"rtl\"";
  const bool bCounts = objMarker.bOrdered && !objMarker.strStyle.empty();
  if (bCounts && objMarker.nNumber != objList.nNext) {
    m_strHtml += " value=\"" + std::to_string(objMarker.nNumber) + "\"";
  }
  objList.nNext = objMarker.nNumber + 1;
  std::string strCss = ParagraphStyle(objFormat, m_objDocument);
  if (!objParagraph.strLabel.empty()) {
    AppendLength(strCss, "text-indent", -LabelWidth(objFormat));
  }
  AppendTabGrid(strCss, objParagraph);
  AppendStyle(m_strHtml, strCss, m_objBudget);
  m_strHtml += '>';
  AppendLabel(objParagraph);
  m_strHtml += objParagraph.strHtml;
}

void Block::AddMarkup(std::string_view strMarkup) {
  CloseLists();
  CloseFrame();
  m_strHtml += strMarkup;
  m_bEndsWithMarkup = true;
}

std::string Block::Take() {
  CloseLists();
  CloseFrame();
  m_bContent = m_bEndsWithMarkup = false;
  return std::exchange(m_strHtml, {});
}

std::string Block::FullStyle(const Paragraph& objParagraph) const {
  const ParagraphFormat& objFormat = objParagraph.objFormat;
  std::string strCss = "margin:0;";
  if (objFormat.nOutline >= 0 && objFormat.nOutline <= kMostHeading) {
    strCss += "font-size:1em;font-weight:normal;";
  }
  strCss += ParagraphStyle(objFormat, m_objDocument);
  ParagraphFormat objIndents = objFormat;
  if (m_objFrame.bOpen) objIndents.nLeft = objIndents.nRight = 0;
  AppendIndents(strCss, objIndents);
  AppendTabGrid(strCss, objParagraph);
  return strCss;
}

// A label fills the space of a hanging first line, so that the text behind it stands flush.
void Block::AppendLabel(const Paragraph& objParagraph) {
  if (objParagraph.strLabel.empty()) return;
  std::string strCss = "display:inline-block;text-indent:0;";
  AppendLength(strCss, "min-width", LabelWidth(objParagraph.objFormat));
  m_strHtml += "<span";
  AppendStyle(m_strHtml, strCss, m_objBudget);
  // A number that is wider than that still stands apart from the text.
  m_strHtml.append(">").append(objParagraph.strLabel).append("&#160;</span>");
}

void Block::EnterFrame(const ParagraphFormat& objFormat) {
  if (!objFormat.HasBorders()) return CloseFrame();
  const bool bSame = m_objFrame.bOpen && m_objFrame.arrBorders == objFormat.arrBorders &&
                     m_objFrame.nLeft == objFormat.nLeft && m_objFrame.nRight == objFormat.nRight;
  if (bSame) return;
  CloseFrame();
  OpenFrame(objFormat);
}

void Block::OpenFrame(const ParagraphFormat& objFormat) {
  CloseLists();
  std::string strCss;
  AppendBorders(strCss, objFormat.arrBorders, m_objDocument, /*bWithNone=*/false);
  int nSpace = 0;
  for (const Border& objBorder : objFormat.arrBorders) nSpace = std::max(nSpace, objBorder.nSpace);
  if (nSpace > 0) AppendLength(strCss, "padding", nSpace);
  ParagraphFormat objIndents = objFormat;
  objIndents.nFirst = 0;
  AppendIndents(strCss, objIndents);
  m_strHtml += "<div";
  AppendStyle(m_strHtml, strCss, m_objBudget);
  m_strHtml += ">\n";
  m_objFrame = {true, objFormat.arrBorders, objFormat.nLeft, objFormat.nRight};
}

void Block::CloseFrame() {
  if (!m_objFrame.bOpen) return;
  CloseLists();
  m_strHtml += "</div>\n";
  m_objFrame = {};
}

// Leaves the open lists that the item is not in, and opens its own if that is not open.
void Block::EnterList(const ParagraphFormat& objFormat, const ListMarker& objMarker) {
  const auto IsOwn = [&](const OpenList& objList) {
    return objList.nLevel == objFormat.nListLevel && objList.nKey == objFormat.nList &&
           objList.bOrdered == objMarker.bOrdered && objList.strStyle == objMarker.strStyle;
  };
  while (!m_arrLists.empty() && m_arrLists.back().nLevel >= objFormat.nListLevel &&
         !IsOwn(m_arrLists.back())) {
    EndList();
  }
  if (!m_arrLists.empty() && m_arrLists.back().nLevel == objFormat.nListLevel) {
    m_strHtml += "</li>\n";
  } else {
    BeginList(objFormat, objMarker);
  }
}

void Block::BeginList(const ParagraphFormat& objFormat, const ListMarker& objMarker) {
  const int nOuter = m_arrLists.empty() ? 0 : m_arrLists.back().nIndent;
  const int nFrame = m_objFrame.bOpen ? m_objFrame.nLeft : 0;
  const int nIndent = std::max(objFormat.nLeft - nFrame, nOuter + kLeastIndent);
  std::string strCss = "margin:0;";
  AppendLength(strCss, objFormat.bRightToLeft ? "padding-right" : "padding-left", nIndent - nOuter);
  const bool bLabels = objMarker.strStyle.empty();
  strCss.append("list-style-type:").append(bLabels ? "none" : objMarker.strStyle).append(";");
  if (!m_arrLists.empty()) {
    m_strHtml += '\n';
    if (m_arrLists.back().strStyle.empty()) strCss += "text-indent:0;";  // not as that item's label
  }
  m_strHtml.append("<").append(ListTag(objMarker.bOrdered));
  if (objMarker.bOrdered && !bLabels && objMarker.nNumber != 1) {
    m_strHtml += " start=\"" + std::to_string(objMarker.nNumber) + "\"";
  }
  AppendStyle(m_strHtml, strCss, m_objBudget);
  m_strHtml += ">\n";
  m_arrLists.push_back({objFormat.nList, objFormat.nListLevel, objMarker.bOrdered,
                        objMarker.strStyle, objMarker.nNumber, nIndent});
}

void Block::EndList() {
  m_strHtml.append("</li>\n</").append(ListTag(m_arrLists.back().bOrdered)).append(">\n");
  m_arrLists.pop_back();
}

void Block::CloseLists() {
  while (!m_arrLists.empty()) EndList();
}

}  // namespace rtf
