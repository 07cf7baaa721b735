#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "body/rtf/Document.h"
#include "body/rtf/Styles.h"
#include "body/rtf/TabLayout.h"

namespace rtf {

// The text of one paragraph, as it comes, with its tags. Runs lie side by side and never within
// each other; a link is around all runs that belong to it. Both end at tabs and line breaks, so
// that what lies between them is whole.
class InlineText {
 public:
  InlineText(const Document& objDocument, StyleBudget& objBudget, const CharacterFormat& objBase)
      : m_objDocument(objDocument), m_objBudget(objBudget), m_objBase(objBase) {}

  // Control characters but the tab are dropped.
  void PutAscii(std::string_view str, const CharacterFormat& objFormat);
  void PutCharacter(char32_t ch, const CharacterFormat& objFormat);
  void PutLineBreak(std::string_view strTag);
  // Markup that is whole in itself, such as a picture; it counts as text if bVisible.
  void PutMarkup(std::string_view strMarkup, const CharacterFormat& objFormat, bool bVisible);

  bool IsEmpty() const { return m_strHtml.empty(); }
  bool IsVisible() const { return m_bVisible; }  // more than marks of places
  // The text with all tags closed; empties the object.
  TabbedText Take();

 private:
  void Select(const CharacterFormat& objFormat);
  void PutBlank();
  void PutTab();
  void Widen(std::size_t nCharacters);
  void CloseRun();
  void CloseLink();
  void OpenLink(int nLink);

  const Document& m_objDocument;
  StyleBudget& m_objBudget;
  const CharacterFormat& m_objBase;
  std::string m_strHtml;
  CharacterFormat m_objFormat;
  std::string m_strRunClose;
  int m_nLink = kNoLink;
  bool m_bOpen = false;       // a run is
  bool m_bAfterBlank = true;  // a blank here would vanish
  bool m_bVisible = false;
  std::vector<TextMark> m_arrMarks;
  TextMark m_objBreak;  // the last line break
  int m_nWidth = 0;     // since the last mark, or the line's begin
};

}  // namespace rtf
