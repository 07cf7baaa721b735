#include "body/rtf/Flow.h"

#include <algorithm>
#include <utility>

#include "body/rtf/HtmlText.h"

namespace rtf {
namespace {

constexpr std::string_view kHardBlank = "&#160;";

}  // namespace

Flow::Flow(Document& objDocument, StyleBudget& objBudget, const CharacterFormat& objBase)
    : m_objDocument(objDocument),
      m_objBudget(objBudget),
      m_objBase(objBase),
      m_objText(objDocument, objBudget, objBase),
      m_objLabel(objDocument, objBudget, objBase),
      m_objRoot(objDocument, objBudget) {}

void Flow::EndLabel() {
  m_bInLabel = false;
  m_bHasLabel = true;
  m_strLabel = LayTabsInGrid(m_objLabel.Take());
  std::size_t nBlanks = 0;  // bytes of them
  while (std::string_view(m_strLabel).substr(nBlanks).starts_with(kHardBlank)) {
    nBlanks += kHardBlank.size();
  }
  m_strLabel.erase(0, nBlanks);
}

// Where nothing else is said, what comes between a row's definition and its end is in its cells.
int Flow::LevelOf(const ParagraphFormat& objFormat) const {
  const bool bInRow = m_bRowDefined || (!m_arrLevels.empty() && !m_arrLevels[0].arrCells.empty());
  int nLevel = objFormat.nTableLevel;
  if (nLevel < 0) nLevel = objFormat.bInTable ? 1 : 0;
  return std::clamp(nLevel, bInRow ? 1 : 0, kMostLevels);
}

std::size_t Flow::Slot(int nLevel) {
  return static_cast<std::size_t>(std::clamp(nLevel, 1, kMostLevels) - 1);
}

RowFormat& Flow::Row(int nLevel) {
  auto& pRow = m_arrRows[Slot(nLevel)];
  if (!pRow) pRow = std::make_shared<RowFormat>();
  return *pRow;
}

void Flow::BeginRow(int nLevel) {
  m_arrRows[Slot(nLevel)] = std::make_shared<RowFormat>();
  if (nLevel <= 1) m_bRowDefined = true;
}

void Flow::SetDepth(int nLevel) {
  const auto nDepth = static_cast<std::size_t>(std::clamp(nLevel, 0, kMostLevels));
  while (m_arrLevels.size() > nDepth) CloseTable();
  while (m_arrLevels.size() < nDepth) {
    m_arrLevels.push_back({Block(m_objDocument, m_objBudget), {}, {}});
  }
}

void Flow::CloseTable() {
  TakeRow();
  PutTable();
  if (m_arrLevels.size() == 1) m_bRowDefined = false;
  m_arrLevels.pop_back();
}

// The rows so far of the innermost table, if there are any.
void Flow::PutTable() {
  TableBuilder& objTable = m_arrLevels.back().objTable;
  if (objTable.IsEmpty()) return;
  Around().AddMarkup(objTable.Build(m_objDocument, m_objBudget, m_objBase.nSize));
  Around().SetContent();
}

void Flow::EndParagraph(const ParagraphFormat& objFormat, const CharacterFormat& objCharacters) {
  SetDepth(LevelOf(objFormat));
  Paragraph objParagraph{.objFormat = objFormat, .bPlain = m_bPlain};
  const bool bVisible = m_objText.IsVisible();
  if (!bVisible && !m_bPlain) m_objText.PutMarkup(kHardBlank, objCharacters, /*bVisible=*/true);
  LayTabs(objParagraph, m_objText.Take());
  if (bVisible || m_bHasLabel) Current().SetContent();
  AddListParagraph(objParagraph);
  m_bHasLabel = m_bListItem = false;
  m_strLabel.clear();
  if (m_strBehind.empty()) return;
  Current().AddMarkup(std::exchange(m_strBehind, {}));
  Current().SetContent();
}

// Text behind a marker or a label begins where the other lines do.
void Flow::LayTabs(Paragraph& objParagraph, TabbedText objText) {
  if (objText.arrMarks.empty()) {
    objParagraph.strHtml = std::move(objText.strHtml);
    return;
  }
  if (m_bPlain) {
    objParagraph.strHtml = LayPlainTabs(objText, m_objBudget);
    return;
  }
  ParagraphFormat objFormat = objParagraph.objFormat;
  if (m_bHasLabel || IsItem(objFormat)) objFormat.nFirst = 0;
  const int nDefault = m_objDocument.nDefaultTab;
  objParagraph.nTabGrid = TabGrid(objFormat, nDefault);
  objParagraph.strHtml = objParagraph.nTabGrid > 0
                             ? LayTabsInGrid(objText)
                             : LayTabsInBoxes(objText, objFormat, nDefault, m_objBudget);
}

// A list of the new form is named by each of its paragraphs; one of the old form stays in force and
// only its items have a label.
bool Flow::IsItem(const ParagraphFormat& objFormat) const {
  return objFormat.nList > 0 || (objFormat.nList < 0 && (m_bHasLabel || m_bListItem));
}

void Flow::AddListParagraph(Paragraph& objParagraph) {
  const ParagraphFormat& objFormat = objParagraph.objFormat;
  if (!IsItem(objFormat) || m_bPlain) {
    objParagraph.strLabel = std::move(m_strLabel);
    return Current().AddParagraph(objParagraph);
  }
  const ListMarker objMarker = m_objDocument.objLists.Next(objFormat.nList, objFormat.nListLevel);
  const bool bHeading = objFormat.nOutline >= 0;
  const bool bDrawn = !bHeading && !objMarker.strStyle.empty();
  if (!bDrawn) objParagraph.strLabel = m_strLabel.empty() ? LabelOf(objMarker) : m_strLabel;
  if (bHeading || (!bDrawn && objParagraph.strLabel.empty())) {
    return Current().AddParagraph(objParagraph);
  }
  Current().AddListItem(objParagraph, objMarker);
}

std::string Flow::LabelOf(const ListMarker& objMarker) {
  const Font* pFont = m_objDocument.FontOf(objMarker.nFont);
  const bool bSigns = pFont && pFont->eSymbol != SymbolFont::kNone;
  std::string strLabel;
  for (std::size_t n = 0; n < objMarker.strText.size();) {
    char32_t ch = TakeCharacter(objMarker.strText, n);
    const int nByte = PrivateByte(ch);
    if (nByte >= 0) {
      ch = SignOf(bSigns ? pFont->eSymbol : SymbolFont::kSymbol, static_cast<unsigned char>(nByte));
    }
    AppendCharacter(strLabel, ch);
  }
  return strLabel;
}

void Flow::TakeCell(Level& objLevel) {
  const bool bContent = objLevel.objCell.HasContent();
  objLevel.arrCells.push_back({objLevel.objCell.Take(), bContent});
}

void Flow::EndCell(int nLevel, const ParagraphFormat& objFormat,
                   const CharacterFormat& objCharacters) {
  nLevel = std::clamp(nLevel, 1, kMostLevels);
  SetDepth(nLevel);
  // The paragraph that must follow a table in a cell is nothing to be seen.
  if (m_objText.IsVisible() || m_bHasLabel || !Current().EndsWithMarkup()) {
    ParagraphFormat objInCell = objFormat;
    objInCell.nTableLevel = nLevel;
    EndParagraph(objInCell, objCharacters);
  }
  TakeCell(m_arrLevels.back());
  if (m_arrLevels.back().arrCells.size() >= TableBuilder::kMostInRow) TakeRow();
}

void Flow::EndRow(int nLevel, const ParagraphFormat& objFormat,
                  const CharacterFormat& objCharacters) {
  nLevel = std::clamp(nLevel, 1, kMostLevels);
  SetDepth(nLevel);
  if (m_objText.IsVisible() || m_bHasLabel) EndCell(nLevel, objFormat, objCharacters);
  TakeRow();
  if (nLevel == 1) m_bRowDefined = false;
}

// Ends the row of the innermost table, if there is anything in it.
void Flow::TakeRow() {
  Level& objLevel = m_arrLevels.back();
  if (objLevel.objCell.HasContent()) TakeCell(objLevel);
  const std::shared_ptr<RowFormat>& pRow = m_arrRows[m_arrLevels.size() - 1];
  const std::size_t nDefined = pRow ? pRow->arrCells.size() : 0;
  // Some programs end more cells than they define; those with nothing in them are none.
  while (nDefined > 0 && objLevel.arrCells.size() > nDefined &&
         !objLevel.arrCells.back().bContent) {
    objLevel.arrCells.pop_back();
  }
  if (objLevel.arrCells.empty()) return;
  objLevel.objTable.AddRow(pRow, std::exchange(objLevel.arrCells, {}));
  if (objLevel.objTable.IsFull()) PutTable();
}

std::string Flow::Finish(const ParagraphFormat& objFormat, const CharacterFormat& objCharacters) {
  if (m_bInLabel) EndLabel();
  const bool bRest = m_objText.IsVisible() || m_bHasLabel || !m_strBehind.empty();
  if (bRest) EndParagraph(objFormat, objCharacters);
  SetDepth(0);
  return m_objRoot.Take();
}

}  // namespace rtf
