#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "body/rtf/Block.h"
#include "body/rtf/Document.h"
#include "body/rtf/InlineText.h"
#include "body/rtf/Styles.h"
#include "body/rtf/TableBuilder.h"

namespace rtf {

// Text from its beginning to its end, with tables and tables within cells: the page itself, or a
// footnote. Level 0 is outside of all tables, level 1 a cell, level 2 a cell of a table in a cell.
class Flow {
 public:
  static constexpr int kMostLevels = 16;  // deeper tables count as these

  Flow(Document& objDocument, StyleBudget& objBudget, const CharacterFormat& objBase);

  // Room for a text that will be long.
  void Reserve(std::size_t nBytes) { m_objRoot.Reserve(nBytes); }
  // The paragraph that is being written, or the label before it.
  InlineText& Text() { return m_bInLabel ? m_objLabel : m_objText; }
  void BeginLabel() { m_bInLabel = true; }
  void EndLabel();
  bool IsInLabel() const { return m_bInLabel; }
  void MarkListItem() { m_bListItem = true; }  // a list of the old form says so in each item
  void SetPlain(bool bPlain) { m_bPlain = bPlain; }

  void EndParagraph(const ParagraphFormat& objFormat, const CharacterFormat& objCharacters);
  void EndCell(int nLevel, const ParagraphFormat& objFormat, const CharacterFormat& objCharacters);
  void EndRow(int nLevel, const ParagraphFormat& objFormat, const CharacterFormat& objCharacters);
  // Markup to stand behind the paragraph that is being written.
  void AddBehind(std::string strMarkup) { m_strBehind += strMarkup; }

  // The definition of the rows to come at a level from 1.
  RowFormat& Row(int nLevel);
  void BeginRow(int nLevel);

  // All of it, with what was left open closed; the object is done with then.
  std::string Finish(const ParagraphFormat& objFormat, const CharacterFormat& objCharacters);

 private:
  struct Level {
    Block objCell;
    std::vector<Cell> arrCells;
    TableBuilder objTable;
  };

  int LevelOf(const ParagraphFormat& objFormat) const;
  Block& Current() { return m_arrLevels.empty() ? m_objRoot : m_arrLevels.back().objCell; }
  Block& Around() {  // the innermost table
    return m_arrLevels.size() < 2 ? m_objRoot : m_arrLevels[m_arrLevels.size() - 2].objCell;
  }
  void SetDepth(int nLevel);
  void CloseTable();
  void PutTable();
  void TakeCell(Level& objLevel);
  void TakeRow();
  bool IsItem(const ParagraphFormat& objFormat) const;
  void LayTabs(Paragraph& objParagraph, TabbedText objText);
  void AddListParagraph(Paragraph& objParagraph);
  std::string LabelOf(const ListMarker& objMarker);
  static std::size_t Slot(int nLevel);

  Document& m_objDocument;
  StyleBudget& m_objBudget;
  const CharacterFormat& m_objBase;
  InlineText m_objText;
  InlineText m_objLabel;
  std::string m_strLabel;
  std::string m_strBehind;
  Block m_objRoot;
  std::vector<Level> m_arrLevels;
  std::array<std::shared_ptr<RowFormat>, kMostLevels> m_arrRows;
  bool m_bRowDefined = false;  // at level 1, and not ended yet
  bool m_bInLabel = false;
  bool m_bHasLabel = false;
  bool m_bListItem = false;
  bool m_bPlain = false;
};

}  // namespace rtf
