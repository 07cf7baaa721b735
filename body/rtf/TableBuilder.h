#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "body/rtf/Document.h"
#include "body/rtf/Styles.h"

namespace rtf {

// What \trowd begins: a row and its cells, which several rows may share.
struct RowFormat {
  int nLeft = 0;
  int nGap = 0;       // half the space between the texts of neighbouring cells
  int nPadLeft = -1;  // -1: as nGap says
  int nPadRight = -1;
  int nHeight = 0;  // below 0: exactly
  Align eAlign = Align::kNone;
  bool bRightToLeft = false;
  Borders arrBorders;   // around the table
  Border objInnerRows;  // between its rows and columns
  Border objInnerColumns;
  CellFormat objNext;  // of the cell that the next \cellx ends
  std::vector<CellFormat> arrCells;
};

struct Cell {
  std::string strHtml;
  bool bContent = false;  // more than empty paragraphs
};

// Rows of one table, until its end is known: only then can be told how many columns and rows a cell
// goes over. The rows' right edges together make the columns. Time and memory are those of the
// cells that have been added; n log n of their number for the columns.
class TableBuilder {
 public:
  // A table of more cells becomes several, one below the other, and a row of more several rows:
  // cells of a few bytes each would take many times as much until they are written.
  static constexpr std::size_t kMostCells = 65536;
  static constexpr std::size_t kMostInRow = 4096;

  // pFormat may be null, and have more or fewer cells than there are.
  void AddRow(std::shared_ptr<const RowFormat> pFormat, std::vector<Cell> arrCells);
  bool IsEmpty() const { return m_arrRows.empty(); }
  bool IsFull() const { return m_nCells >= kMostCells; }
  // The table's markup; empties the object.
  std::string Build(const Document& objDocument, StyleBudget& objBudget, int nFontSize);

 private:
  struct Placed {
    std::size_t nCell;  // in its row
    std::size_t nColumn;
    std::size_t nColumns;  // that it goes over
    std::size_t nRows = 1;
    int nWidth;             // twips; 0: unknown
    std::size_t nOwnerRow;  // of the cell that covers it, else its own place
    std::size_t nOwner;
    bool bCovered = false;
  };
  struct Row {
    std::shared_ptr<const RowFormat> pFormat;
    std::vector<Cell> arrCells;
    std::vector<Placed> arrPlaced;
  };

  void FindColumns();
  std::size_t ColumnOf(int nEdge) const;
  void PlaceAcross(std::size_t nRow);
  void PlaceDown(std::size_t nRow);
  void WriteRow(std::string& strHtml, std::size_t nRow, const Document& objDocument,
                StyleBudget& objBudget);
  std::string CellStyle(std::size_t nRow, const Placed& objPlaced,
                        const Document& objDocument) const;
  Borders CellBorders(std::size_t nRow, const Placed& objPlaced) const;

  std::vector<Row> m_arrRows;
  std::size_t m_nCells = 0;
  std::vector<int> m_arrEdges;  // ascending: where each column begins, and the last ends
};

}  // namespace rtf
