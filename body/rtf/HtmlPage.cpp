#include "body/rtf/HtmlPage.h"

#include <algorithm>
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

void HtmlPage::PutShape(std::string_view strCss) {
  ++m_nPuts;
  std::string strTag = "<div";
  AppendStyle(strTag, strCss, m_objBudget);
  Text().AddBehind(strTag + "></div>\n");
}

void HtmlPage::PutPlace(std::string_view strName) {
  const std::string strTag = "<a name=\"" + std::string(strName) + "\"></a>";
  Text().Text().PutMarkup(strTag, {}, /*bVisible=*/false);
}

bool HtmlPage::BeginAside(Aside eKind, std::string strCss) {
  if (m_arrFlows.size() > kMostAsides) return false;
  m_arrFlows.push_back(std::make_unique<Flow>(m_objDocument, m_objBudget, m_objBase));
  m_arrAsides.push_back({eKind, std::move(strCss)});
  return true;
}

void HtmlPage::EndAside(const ParagraphFormat& objFormat, const CharacterFormat& objCharacters) {
  const std::string strHtml = Text().Finish(objFormat, objCharacters);
  m_arrFlows.pop_back();
  const OpenAside objEnded = std::move(m_arrAsides.back());
  m_arrAsides.pop_back();
  if (objEnded.eKind != Aside::kDrawing) {
    m_arrNoteTexts[static_cast<std::size_t>(objEnded.eKind)] += strHtml;
  } else if (!strHtml.empty()) {
    std::string strTag = "<div";
    AppendStyle(strTag, objEnded.strCss, m_objBudget);
    Text().AddBehind(strTag + ">\n" + strHtml + "</div>\n");
  }
}

HtmlPage::Aside* HtmlPage::OpenNote() {
  const auto it =
      std::ranges::find_if(m_arrAsides.rbegin(), m_arrAsides.rend(),
                           [](auto& objAside) { return objAside.eKind != Aside::kDrawing; });
  return it == m_arrAsides.rend() ? nullptr : &it->eKind;
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
  for (const std::string& strNotes : m_arrNoteTexts) {
    if (!strNotes.empty()) strPage.append("<hr>\n").append(strNotes);
  }
  strPage += "</body>\n</html>\n";
  return strPage;
}

}  // namespace rtf
