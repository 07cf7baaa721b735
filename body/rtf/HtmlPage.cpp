#include "body/rtf/HtmlPage.h"

#include <utility>

namespace rtf {
namespace {

constexpr std::size_t kPagePerByte = 3;  // of rich text, mostly

}  // namespace

HtmlPage::HtmlPage(Document& objDocument, const CharacterFormat& objBase, std::size_t nSource)
    : m_objDocument(objDocument), m_objBudget(nSource), m_objBase(objBase) {
  m_arrFlows.push_back(std::make_unique<Flow>(m_objDocument, m_objBudget, m_objBase));
  Text().Reserve(kPagePerByte * nSource);
}

InlineText& HtmlPage::Begin() {
  ++m_nPuts;
  return Text().Text();
}

void HtmlPage::PutAscii(std::string_view str, const CharacterFormat& objFormat) {
  Begin().PutAscii(str, objFormat);
}

void HtmlPage::PutCharacter(char32_t ch, const CharacterFormat& objFormat) {
  Begin().PutCharacter(ch, objFormat);
}

void HtmlPage::PutLineBreak() { Begin().PutLineBreak("<br>"); }

void HtmlPage::PutPageBreak() { Begin().PutLineBreak("<br style=\"page-break-before:always\">"); }

void HtmlPage::PutPicture(std::string_view strTag, const CharacterFormat& objFormat) {
  Begin().PutMarkup(strTag, objFormat, /*bVisible=*/true);
}

void HtmlPage::PutPlace(std::string_view strName) {
  const std::string strTag = "<a name=\"" + std::string(strName) + "\"></a>";
  Text().Text().PutMarkup(strTag, {}, /*bVisible=*/false);
}

bool HtmlPage::BeginAside(Aside eKind, std::string strCss) {
  if (m_arrFlows.size() > kMostAsides) return false;
  m_arrFlows.push_back(std::make_unique<Flow>(m_objDocument, m_objBudget, m_objBase));
  m_arrAsideStyles.push_back(std::move(strCss));
  if (eKind == Aside::kFootnote) {
    ++m_nFootnotes;
    ++m_nOpenFootnotes;
  }
  return true;
}

void HtmlPage::EndAside(Aside eKind, const ParagraphFormat& objFormat,
                        const CharacterFormat& objCharacters) {
  const std::string strHtml = Text().Finish(objFormat, objCharacters);
  m_arrFlows.pop_back();
  const std::string strCss = std::move(m_arrAsideStyles.back());
  m_arrAsideStyles.pop_back();
  if (eKind == Aside::kFootnote) {
    m_strFootnotes += strHtml;
    --m_nOpenFootnotes;
  } else if (!strHtml.empty()) {
    std::string strTag = "<div";
    AppendStyle(strTag, strCss, m_objBudget);
    Text().AddBehind(strTag + ">\n" + strHtml + "</div>\n");
  }
}

std::size_t HtmlPage::FootnoteNumber() const {
  return m_nFootnotes + (m_nOpenFootnotes > 0 ? 0 : 1);
}

std::string HtmlPage::Finish(const ParagraphFormat& objFormat,
                             const CharacterFormat& objCharacters) {
  std::string strPage = Text().Finish(objFormat, objCharacters);
  std::string strCss;
  AppendFont(strCss, m_objDocument.FontOf(m_objBase.nFont));
  AppendSize(strCss, m_objBase.nSize);
  // In place: a second copy of a huge page costs more time than the first.
  strPage.insert(0,
                 "<!DOCTYPE html>\n<html>\n<head></head>\n<body" + StyleAttribute(strCss) + ">\n");
  if (!m_strFootnotes.empty()) strPage.append("<hr>\n").append(m_strFootnotes);
  strPage += "</body>\n</html>\n";
  return strPage;
}

}  // namespace rtf
