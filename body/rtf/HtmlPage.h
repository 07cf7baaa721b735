#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "body/rtf/Document.h"
#include "body/rtf/Flow.h"
#include "body/rtf/Styles.h"

namespace rtf {

// The page that a document becomes: its text, and asides (notes, text of drawings) that are written
// while their paragraph is not finished.
class HtmlPage {
 public:
  enum class Aside { kFootnote, kEndnote, kDrawing };
  static constexpr std::size_t kMostAsides = 16;  // within each other

  // The document must outlive the page, which is set in the font and size of objBase; nSource is
  // its size in bytes.
  HtmlPage(Document& objDocument, const CharacterFormat& objBase, std::size_t nSource);

  void PutAscii(std::string_view str, const CharacterFormat& objFormat);
  void PutCharacter(char32_t ch, const CharacterFormat& objFormat);
  void PutLineBreak();
  void PutPageBreak();
  void PutPicture(std::string_view strTag, const CharacterFormat& objFormat);
  void PutShape(std::string_view strCss);  // a box that is empty, behind the paragraph
  void PutPlace(std::string_view strName);  // an attribute value, for links to lead to

  // Where paragraphs, cells and rows end.
  Flow& Text() { return *m_arrFlows.back(); }
  // False, and nothing begins, if too many are open. strCss is how a drawing looks.
  bool BeginAside(Aside eKind, std::string strCss = {});
  void EndAside(const ParagraphFormat& objFormat, const CharacterFormat& objCharacters);
  // The innermost note that is being written, and null outside of all.
  Aside* OpenNote();
  // How many notes of that kind have got a mark; CountNote adds one.
  int NoteCount(Aside eKind) const { return m_arrNotes[static_cast<std::size_t>(eKind)]; }
  int CountNote(Aside eKind) { return ++m_arrNotes[static_cast<std::size_t>(eKind)]; }

  std::size_t Puts() const { return m_nPuts; }  // grows with everything that can be seen
  bool LostFormatting() const { return m_objBudget.IsSpent(); }
  // From <!DOCTYPE> to </html>; the object is done with then.
  std::string Finish(const ParagraphFormat& objFormat, const CharacterFormat& objCharacters);

 private:
  struct OpenAside {
    Aside eKind;
    std::string strCss;
  };
  static constexpr std::size_t kNoteKinds = 2;

  InlineText& Begin();

  Document& m_objDocument;
  StyleBudget m_objBudget;
  const CharacterFormat m_objBase;
  std::vector<std::unique_ptr<Flow>> m_arrFlows;
  std::vector<OpenAside> m_arrAsides;                  // each inside the one before
  std::array<std::string, kNoteKinds> m_arrNoteTexts;  // by Aside
  std::array<int, kNoteKinds> m_arrNotes{};
  std::size_t m_nPuts = 0;
};

}  // namespace rtf
