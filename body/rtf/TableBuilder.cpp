#include "body/rtf/TableBuilder.h"

#include <algorithm>
#include <array>
#include <utility>

#include "body/rtf/HtmlText.h"

namespace rtf {
namespace {

constexpr int kSameEdge = 15;  // twips; programs round the edges of one column differently

const CellFormat* FormatOf(const RowFormat& objRow, std::size_t nCell) {
  return nCell < objRow.arrCells.size() ? &objRow.arrCells[nCell] : nullptr;
}

void AppendSpan(std::string& strHtml, std::string_view strName, std::size_t nSpan) {
  constexpr std::size_t kMostSpan = 1000;  // more are cut by browsers as well
  if (nSpan > 1) {
    strHtml.append(" ").append(strName).append("=\"");
    strHtml.append(std::to_string(std::min(nSpan, kMostSpan))).append("\"");
  }
}

void AppendPadding(std::string& strCss, const RowFormat& objRow, const CellFormat* pCell) {
  const int nGap = std::max(objRow.nGap, 0);
  std::array<int, kSides> arrPadding{0, objRow.nPadRight >= 0 ? objRow.nPadRight : nGap, 0,
                                     objRow.nPadLeft >= 0 ? objRow.nPadLeft : nGap};
  for (std::size_t n = 0; pCell && n < kSides; ++n) {
    if (pCell->arrPadding[n] >= 0) arrPadding[n] = pCell->arrPadding[n];
  }
  AppendTwips(strCss += "padding:", arrPadding[kTop]);
  for (const BorderSide eSide : {kRight, kBottom, kLeft}) {
    AppendTwips(strCss += ' ', arrPadding[eSide]);
  }
  strCss += ';';
}

std::string TableStyle(const RowFormat& objRow, int nFontSize) {
  std::string strCss = "border-collapse:collapse;";
  AppendSize(strCss, nFontSize);  // tables do not take it from what is around them everywhere
  if (objRow.eAlign == Align::kCenter) {
    strCss += "margin-left:auto;margin-right:auto;";
  } else if (objRow.eAlign == Align::kRight) {
    strCss += "margin-left:auto;";
  } else if (objRow.nLeft > 0) {
    AppendLength(strCss, "margin-left", objRow.nLeft);
  }
  return strCss;
}

}  // namespace

void TableBuilder::AddRow(std::shared_ptr<const RowFormat> pFormat, std::vector<Cell> arrCells) {
  if (!pFormat) pFormat = std::make_shared<const RowFormat>();
  m_nCells += arrCells.size();
  m_arrRows.push_back({std::move(pFormat), std::move(arrCells), {}});
}

std::string TableBuilder::Build(const Document& objDocument, StyleBudget& objBudget,
                                int nFontSize) {
  FindColumns();
  for (std::size_t nRow = 0; nRow < m_arrRows.size(); ++nRow) {
    PlaceAcross(nRow);
    if (nRow > 0) PlaceDown(nRow);
  }
  std::string strHtml = "<table";
  const RowFormat& objFirst = *m_arrRows.front().pFormat;
  if (objFirst.bRightToLeft) strHtml += " dir=\"rtl\"";
  AppendStyle(strHtml, TableStyle(objFirst, nFontSize), objBudget);
  strHtml += ">\n";
  for (std::size_t nRow = 0; nRow < m_arrRows.size(); ++nRow) {
    WriteRow(strHtml, nRow, objDocument, objBudget);
  }
  m_arrRows.clear();
  m_nCells = 0;
  strHtml += "</table>\n";
  return strHtml;
}

void TableBuilder::FindColumns() {
  std::vector<int> arrAll;
  for (const Row& objRow : m_arrRows) {
    const RowFormat& objFormat = *objRow.pFormat;
    const std::size_t nCells = std::min(objRow.arrCells.size(), objFormat.arrCells.size());
    if (nCells > 0) arrAll.push_back(objFormat.nLeft);
    for (std::size_t n = 0; n < nCells; ++n) arrAll.push_back(objFormat.arrCells[n].nRight);
  }
  std::ranges::sort(arrAll);
  m_arrEdges.clear();
  for (const int nEdge : arrAll) {
    const bool bNew =
        m_arrEdges.empty() || static_cast<long long>(nEdge) - m_arrEdges.back() > kSameEdge;
    if (bNew) m_arrEdges.push_back(nEdge);
  }
}

// The column that begins at an edge.
std::size_t TableBuilder::ColumnOf(int nEdge) const {
  const auto it = std::ranges::upper_bound(m_arrEdges, nEdge);
  return it == m_arrEdges.begin() ? 0 : static_cast<std::size_t>(it - m_arrEdges.begin()) - 1;
}

// Cells of a row that are merged become one, with the text of all.
void TableBuilder::PlaceAcross(std::size_t nRow) {
  Row& objRow = m_arrRows[nRow];
  std::size_t nColumn = objRow.pFormat->arrCells.empty() ? 0 : ColumnOf(objRow.pFormat->nLeft);
  int nLeft = objRow.pFormat->nLeft;
  for (std::size_t n = 0; n < objRow.arrCells.size(); ++n) {
    const CellFormat* pFormat = FormatOf(*objRow.pFormat, n);
    const std::size_t nEnd =
        pFormat ? std::max(ColumnOf(pFormat->nRight), nColumn + 1) : nColumn + 1;
    const int nWidth = pFormat && pFormat->nRight > nLeft ? pFormat->nRight - nLeft : 0;
    if (pFormat && pFormat->eAcross == Merge::kFollowing && !objRow.arrPlaced.empty()) {
      Placed& objOwner = objRow.arrPlaced.back();
      objOwner.nColumns += nEnd - nColumn;
      objOwner.nWidth += nWidth;
      Cell& objCell = objRow.arrCells[n];
      Cell& objFirst = objRow.arrCells[objOwner.nCell];
      if (objCell.bContent) objFirst.strHtml += std::exchange(objCell.strHtml, {});
    } else {
      objRow.arrPlaced.push_back({.nCell = n,
                                  .nColumn = nColumn,
                                  .nColumns = nEnd - nColumn,
                                  .nWidth = nWidth,
                                  .nOwnerRow = nRow,
                                  .nOwner = objRow.arrPlaced.size()});
    }
    nColumn = nEnd;
    if (pFormat) nLeft = std::max(nLeft, pFormat->nRight);
  }
}

// Cells that go on from the row above belong to the cell where that began.
void TableBuilder::PlaceDown(std::size_t nRow) {
  Row& objRow = m_arrRows[nRow];
  const Row& objAbove = m_arrRows[nRow - 1];
  auto itAbove = objAbove.arrPlaced.begin();
  for (Placed& objPlaced : objRow.arrPlaced) {
    while (itAbove != objAbove.arrPlaced.end() && itAbove->nColumn < objPlaced.nColumn) ++itAbove;
    if (itAbove == objAbove.arrPlaced.end()) return;
    const CellFormat* pFormat = FormatOf(*objRow.pFormat, objPlaced.nCell);
    const CellFormat* pAbove = FormatOf(*objAbove.pFormat, itAbove->nCell);
    const bool bFollows = pFormat && pFormat->eDown == Merge::kFollowing &&
                          itAbove->nColumn == objPlaced.nColumn && pAbove &&
                          (itAbove->bCovered || pAbove->eDown == Merge::kFirst);
    if (!bFollows) continue;
    objPlaced.bCovered = true;
    objPlaced.nOwnerRow = itAbove->nOwnerRow;
    objPlaced.nOwner = itAbove->nOwner;
    Row& objOwnerRow = m_arrRows[objPlaced.nOwnerRow];
    Placed& objOwner = objOwnerRow.arrPlaced[objPlaced.nOwner];
    ++objOwner.nRows;
    Cell& objCell = objRow.arrCells[objPlaced.nCell];
    if (objCell.bContent) {
      objOwnerRow.arrCells[objOwner.nCell].strHtml += std::exchange(objCell.strHtml, {});
    }
  }
}

void TableBuilder::WriteRow(std::string& strHtml, std::size_t nRow, const Document& objDocument,
                            StyleBudget& objBudget) {
  Row& objRow = m_arrRows[nRow];
  std::string strCss = "vertical-align:top;";
  if (objRow.pFormat->nHeight > 0) AppendLength(strCss, "height", objRow.pFormat->nHeight);
  strHtml += "<tr";
  AppendStyle(strHtml, strCss, objBudget);
  strHtml += ">\n";
  const std::size_t nFirst = objRow.arrPlaced.empty() ? 0 : objRow.arrPlaced.front().nColumn;
  if (nFirst > 0) {
    strHtml += "<td";
    AppendSpan(strHtml, "colspan", nFirst);
    strHtml += "></td>\n";
  }
  for (const Placed& objPlaced : objRow.arrPlaced) {
    if (objPlaced.bCovered) continue;
    strHtml += "<td";
    AppendSpan(strHtml, "colspan", objPlaced.nColumns);
    AppendSpan(strHtml, "rowspan", objPlaced.nRows);
    AppendStyle(strHtml, CellStyle(nRow, objPlaced, objDocument), objBudget);
    strHtml.append(">").append(objRow.arrCells[objPlaced.nCell].strHtml).append("</td>\n");
  }
  strHtml += "</tr>\n";
  objRow.arrCells.clear();
}

std::string TableBuilder::CellStyle(std::size_t nRow, const Placed& objPlaced,
                                    const Document& objDocument) const {
  const RowFormat& objRow = *m_arrRows[nRow].pFormat;
  std::string strCss;
  if (objPlaced.nWidth > 0) AppendLength(strCss, "width", objPlaced.nWidth);
  const CellFormat* pFormat = FormatOf(objRow, objPlaced.nCell);
  AppendPadding(strCss, objRow, pFormat);
  AppendBorders(strCss, CellBorders(nRow, objPlaced), objDocument, /*bWithNone=*/false);
  if (pFormat == nullptr) return strCss;
  if (pFormat->eAlign == VerticalAlign::kMiddle) strCss += "vertical-align:middle;";
  if (pFormat->eAlign == VerticalAlign::kBottom) strCss += "vertical-align:bottom;";
  AppendColor(strCss, "background",
              ShadeColor(objDocument, pFormat->nShade, pFormat->nPattern, pFormat->nPatternColor));
  return strCss;
}

// A cell's own borders; where it names none, those of the table at its place.
Borders TableBuilder::CellBorders(std::size_t nRow, const Placed& objPlaced) const {
  const Row& objRow = m_arrRows[nRow];
  const RowFormat& objFormat = *objRow.pFormat;
  const CellFormat* pFormat = FormatOf(objFormat, objPlaced.nCell);
  Borders arrBorders = pFormat ? pFormat->arrBorders : Borders{};
  const bool bTop = nRow == 0;
  const bool bBottom = nRow + objPlaced.nRows >= m_arrRows.size();
  const bool bLeft = &objPlaced == &objRow.arrPlaced.front();
  const bool bRight = &objPlaced == &objRow.arrPlaced.back();
  const auto Complete = [&](BorderSide eSide, bool bOuter, const Border& objInner) {
    if (!arrBorders[eSide].bGiven) {
      arrBorders[eSide] = bOuter ? objFormat.arrBorders[eSide] : objInner;
    }
  };
  Complete(kTop, bTop, objFormat.objInnerRows);
  Complete(kBottom, bBottom, objFormat.objInnerRows);
  Complete(kLeft, bLeft, objFormat.objInnerColumns);
  Complete(kRight, bRight, objFormat.objInnerColumns);
  return arrBorders;
}

}  // namespace rtf
