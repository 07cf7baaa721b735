#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "body/rtf/Document.h"
#include "body/rtf/Formats.h"

namespace rtf {

// How many bytes of formatting a page may take. A paragraph end of four bytes may ask for hundreds,
// time and again: what the budget does not hold is left out, the text never is.
class StyleBudget {
 public:
  static constexpr std::size_t kBase = 1 << 20;  // bytes
  static constexpr std::size_t kPerByte = 16;    // and for each byte of rich text
  explicit StyleBudget(std::size_t nSource) : m_nLeft(kBase + kPerByte * nSource) {}

  // False if they are more than what is left, and from then on.
  bool Spend(std::size_t nBytes) {
    if (nBytes > m_nLeft) m_bSpent = true;
    if (!m_bSpent) m_nLeft -= nBytes;
    return !m_bSpent;
  }
  bool IsSpent() const { return m_bSpent; }

 private:
  std::size_t m_nLeft;
  bool m_bSpent = false;
};

// ` style="…"`, or nothing for no declarations; appended as long as the budget holds.
std::string StyleAttribute(std::string_view strCss);
void AppendStyle(std::string& strHtml, std::string_view strCss, StyleBudget& objBudget);

// "#rrggbb".
void AppendRgb(std::string& strCss, int nRgb);

// Each appends declarations, each with its semicolon.
void AppendColor(std::string& strCss, std::string_view strProperty, int nRgb);
void AppendLength(std::string& strCss, std::string_view strProperty, int nTwips);
void AppendFont(std::string& strCss, const Font* pFont);
void AppendSize(std::string& strCss, int nHalfPoints);
void AppendBorder(std::string& strCss, std::string_view strProperty, const Border& objBorder,
                  int nRgb);
// The sides that have lines; those that are said to have none too, if bWithNone.
void AppendBorders(std::string& strCss, const Borders& arrBorders, const Document& objDocument,
                   bool bWithNone);

// The colour of a surface: nShade, with nPattern hundredths of a percent of another over it.
int ShadeColor(const Document& objDocument, int nShade, int nPattern, int nPatternColor);

// The tags around a run of text, where it differs from the base that the page is set in.
struct RunTags {
  std::string strOpen;
  std::string strClose;
};
RunTags TagsOf(const CharacterFormat& objFormat, const CharacterFormat& objBase,
               const Document& objDocument);

// Of a paragraph: alignment, spacing and line height; with indents, if it stands by itself.
std::string ParagraphStyle(const ParagraphFormat& objFormat, const Document& objDocument);
void AppendIndents(std::string& strCss, const ParagraphFormat& objFormat);

}  // namespace rtf
