#include "body/rtf/InlineText.h"

#include <algorithm>
#include <utility>

#include "body/rtf/HtmlText.h"

namespace rtf {
namespace {

constexpr std::string_view kHardBlank = "&#160;";
constexpr int kMostWidth = 100'000;  // twips, of a line

bool IsPlain(char ch) {
  return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') ||
         ch == '.' || ch == ',' || ch == '-';
}

}  // namespace

void InlineText::PutAscii(std::string_view str, const CharacterFormat& objFormat) {
  Select(objFormat);
  while (!str.empty()) {
    const auto itEnd = std::ranges::find_if_not(str, IsPlain);
    const auto nPlain = static_cast<std::size_t>(itEnd - str.begin());
    if (nPlain > 0) {
      m_strHtml.append(str.substr(0, nPlain));
      Widen(nPlain);
      m_bAfterBlank = false;
      m_bVisible = true;
      str.remove_prefix(nPlain);
    } else {
      PutCharacter(static_cast<unsigned char>(str[0]), objFormat);
      str.remove_prefix(1);
    }
  }
}

void InlineText::PutCharacter(char32_t ch, const CharacterFormat& objFormat) {
  if (ch == '\t') return PutTab();
  Select(objFormat);
  if (ch == ' ') return PutBlank();
  const std::size_t nBefore = m_strHtml.size();
  AppendCharacter(m_strHtml, ch);
  if (m_strHtml.size() == nBefore) return;
  Widen(1);
  m_bAfterBlank = false;
  m_bVisible = true;
}

// Of blanks in a row a page shows one, and none where a line begins.
void InlineText::PutBlank() {
  Widen(1);
  m_bVisible = true;
  if (m_bAfterBlank) {
    m_strHtml += kHardBlank;
  } else {
    m_strHtml += ' ';
  }
  m_bAfterBlank = true;
}

void InlineText::PutLineBreak(std::string_view strTag) {
  CloseRun();
  CloseLink();
  m_objBreak = {.nAt = m_strHtml.size(), .nTag = strTag.size()};
  if (!m_arrMarks.empty()) m_arrMarks.push_back(m_objBreak);
  m_strHtml += strTag;
  m_bAfterBlank = true;
  m_nWidth = 0;
}

void InlineText::PutTab() {
  CloseRun();
  CloseLink();
  if (m_arrMarks.empty() && m_objBreak.nTag > 0) m_arrMarks.push_back(m_objBreak);
  m_arrMarks.push_back({.nAt = m_strHtml.size(), .nWidth = std::exchange(m_nWidth, 0)});
  m_bVisible = m_bAfterBlank = true;
}

// Letters are about half as wide as the font is high, which is in half points.
void InlineText::Widen(std::size_t nCharacters) {
  constexpr std::size_t kMostCharacters = 1000;  // no line is longer
  const int nMore =
      static_cast<int>(std::min(nCharacters, kMostCharacters)) * m_objFormat.nSize * 5;
  m_nWidth = std::min(m_nWidth + nMore, kMostWidth);
}

void InlineText::PutMarkup(std::string_view strMarkup, const CharacterFormat& objFormat,
                           bool bVisible) {
  if (bVisible) Select(objFormat);
  m_strHtml += strMarkup;
  m_bVisible = m_bVisible || bVisible;
  if (bVisible) m_bAfterBlank = false;
}

void InlineText::Select(const CharacterFormat& objFormat) {
  if (m_bOpen && objFormat == m_objFormat) return;
  CloseRun();
  if (objFormat.nLink != m_nLink) {
    CloseLink();
    OpenLink(objFormat.nLink);
  }
  m_objFormat = objFormat;
  m_bOpen = true;
  if (m_objBudget.IsSpent()) return;
  RunTags objTags = TagsOf(objFormat, m_objBase, m_objDocument);
  if (!m_objBudget.Spend(objTags.strOpen.size() + objTags.strClose.size())) return;
  m_strHtml += objTags.strOpen;
  m_strRunClose = std::move(objTags.strClose);
}

void InlineText::CloseRun() {
  m_strHtml += m_strRunClose;
  m_strRunClose.clear();
  m_bOpen = false;
}

void InlineText::OpenLink(int nLink) {
  if (nLink == kNoLink) return;
  const std::string& strTarget = m_objDocument.arrLinks[static_cast<std::size_t>(nLink)];
  if (!m_objBudget.Spend(strTarget.size() + 15)) return;
  m_strHtml.append("<a href=\"").append(strTarget).append("\">");
  m_nLink = nLink;
}

void InlineText::CloseLink() {
  if (m_nLink != kNoLink) m_strHtml += "</a>";
  m_nLink = kNoLink;
}

TabbedText InlineText::Take() {
  CloseRun();
  CloseLink();
  m_bAfterBlank = true;
  m_bVisible = false;
  m_objBreak = {};
  m_nWidth = 0;
  return {std::exchange(m_strHtml, {}), std::exchange(m_arrMarks, {})};
}

}  // namespace rtf
