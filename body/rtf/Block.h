#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "body/rtf/Document.h"
#include "body/rtf/Styles.h"

namespace rtf {

// A paragraph that has ended.
struct Paragraph {
  ParagraphFormat objFormat;
  std::string strHtml{};   // with something in it, be it a hard blank
  std::string strLabel{};  // what stands before it as text: a number that no list draws
  int nTabGrid = 0;        // twips between the tab characters' stops; 0: none are in it
  bool bPlain = false;     // a line of a text without formatting
};

// What stands one below the other: in the page, in a cell, in a footnote. Neighbours of one list
// become one list, and neighbours with the same border stand in one frame, as the format means it.
class Block {
 public:
  Block(const Document& objDocument, StyleBudget& objBudget)
      : m_objDocument(objDocument), m_objBudget(objBudget) {}

  void Reserve(std::size_t nBytes) { m_strHtml.reserve(nBytes); }
  void AddParagraph(const Paragraph& objParagraph);
  void AddListItem(const Paragraph& objParagraph, const ListMarker& objMarker);
  void AddMarkup(std::string_view strMarkup);  // whole in itself: a table, a rule
  bool HasContent() const { return m_bContent; }
  void SetContent() { m_bContent = true; }  // there is more to be seen than empty paragraphs
  bool EndsWithMarkup() const { return m_bEndsWithMarkup; }
  // Everything with all tags closed; empties the block.
  std::string Take();

 private:
  struct OpenList {
    int nKey;
    int nLevel;
    bool bOrdered;
    std::string_view strStyle;  // empty: its items have labels
    int nNext;                  // the number that the next item gets by itself
    int nIndent;                // of the text from the edge of what is around all lists
  };
  struct Frame {
    bool bOpen = false;
    Borders arrBorders;
    int nLeft = 0, nRight = 0;
  };

  void EnterFrame(const ParagraphFormat& objFormat);
  void OpenFrame(const ParagraphFormat& objFormat);
  void CloseFrame();
  void EnterList(const ParagraphFormat& objFormat, const ListMarker& objMarker);
  void BeginList(const ParagraphFormat& objFormat, const ListMarker& objMarker);
  void EndList();
  void CloseLists();
  std::string FullStyle(const Paragraph& objParagraph) const;
  void AppendLabel(const Paragraph& objParagraph);

  const Document& m_objDocument;
  StyleBudget& m_objBudget;
  std::string m_strHtml;
  std::vector<OpenList> m_arrLists;  // each inside the one before
  Frame m_objFrame;
  bool m_bContent = false;
  bool m_bEndsWithMarkup = false;
};

}  // namespace rtf
