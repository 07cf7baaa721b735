#include "html/ClsHtmlToText.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/AsciiText.h"
#include "base/ClsOperation.h"
#include "base/LogContextExitor.h"
#include "html/ClsHtmlToXml.h"
#include "html/TextFiller.h"

namespace mail {
namespace {

using Index = HtmlTree::Index;

constexpr std::uint32_t kA = tagNumber("a");
constexpr std::uint32_t kBlockquote = tagNumber("blockquote");
constexpr std::uint32_t kBr = tagNumber("br");
constexpr std::uint32_t kHr = tagNumber("hr");
constexpr std::uint32_t kLi = tagNumber("li");
constexpr std::uint32_t kPre = tagNumber("pre");

// Elements of which nothing is shown.
constexpr std::array kHidden = {tagNumber("style"), tagNumber("head"), tagNumber("comment"),
                                tagNumber("script")};

enum class Break : std::uint8_t { kNo, kLine, kBlank };
struct Breaks {
  Break nBefore = Break::kNo;
  Break nAfter = Break::kNo;
};
struct TagBreaks {
  std::string_view strName;
  Breaks objBreaks;
};
constexpr TagBreaks kTagBreaks[] = {
    {"blockquote", {Break::kBlank, Break::kBlank}},
    {"dd", {Break::kBlank, Break::kBlank}},
    {"div", {Break::kLine, Break::kLine}},
    {"dl", {Break::kBlank, Break::kBlank}},
    {"dt", {Break::kBlank, Break::kBlank}},
    {"li", {Break::kLine, Break::kLine}},
    {"ol", {Break::kLine, Break::kLine}},
    {"p", {Break::kBlank, Break::kBlank}},
    {"td", {Break::kNo, Break::kLine}},
    {"th", {Break::kNo, Break::kLine}},
    {"tr", {Break::kNo, Break::kBlank}},
    {"ul", {Break::kLine, Break::kLine}},
};

// Headings, and whatever else begins with "h" but the two that are none.
constexpr Breaks breaksOfName(std::string_view strName) {
  for (const TagBreaks& objTag : kTagBreaks) {
    if (objTag.strName == strName) return objTag.objBreaks;
  }
  const bool bHeading = strName.starts_with('h') && strName != "html" && strName != "hr";
  return bHeading ? Breaks{Break::kBlank, Break::kBlank} : Breaks{};
}
constexpr auto kBreaksOfKnown = [] {
  std::array<Breaks, kHtmlTags.size()> aBreaks{};
  for (std::size_t n = 0; n < aBreaks.size(); ++n) aBreaks[n] = breaksOfName(kHtmlTags[n].strName);
  return aBreaks;
}();

// Walks the tree of a page and writes its text, with the nodes on its way on a stack of its own.
class TextWalk {
 public:
  struct Form {
    std::size_t nMaxDepth;
    std::int32_t nMargin;
    bool bLinks;
    bool bPreApart;
  };
  TextWalk(const HtmlTree& objTree, const Form& objForm)
      : m_objTree(objTree), m_objForm(objForm), m_objText(objTree.sourceSize() / 2) {}

  std::string recursiveToText();

 private:
  struct Frame {
    Index nNode;
    Index nNextChild;
    std::size_t nIndent;
    std::size_t nPreDepth;
    std::size_t nLinkStart;  // of a link: the length of the text in front of it
  };

  bool isHidden(std::uint32_t nTag) const {
    return std::find(kHidden.begin(), kHidden.end(), nTag) != kHidden.end();
  }
  Breaks breaksOf(Index nNode) const {
    const std::uint32_t nTag = m_objTree.at(nNode).nTag;
    if (nTag == kPre && m_objForm.bPreApart) return {Break::kLine, Break::kLine};
    return nTag < kBreaksOfKnown.size() ? kBreaksOfKnown[nTag]
                                        : breaksOfName(m_objTree.tagName(nNode));
  }
  void put(Break nBreak);
  void emitText(std::string_view strText, std::size_t nIndent, std::size_t nPreDepth);
  void enter(Index nNode, std::size_t nIndent, std::size_t nPreDepth);
  void leave(const Frame& objFrame);
  void putTarget(const Frame& objFrame);

  const HtmlTree& m_objTree;
  Form m_objForm;
  TextFiller m_objText;
  std::vector<Frame> m_arrFrames;
};

std::string TextWalk::recursiveToText() {
  enter(HtmlTree::kRoot, 0, 0);
  while (!m_arrFrames.empty()) {
    Frame& objFrame = m_arrFrames.back();
    const Index nChild = objFrame.nNextChild;
    if (nChild == HtmlTree::kNone) {
      leave(objFrame);
      m_arrFrames.pop_back();
      continue;
    }
    const HtmlTree::Node& objChild = m_objTree.at(nChild);
    objFrame.nNextChild = objChild.nNext;
    std::size_t nIndent = objFrame.nIndent;
    if (objChild.nTag == kLi || objChild.nTag == kBlockquote) {
      nIndent = std::min(nIndent + ClsHtmlToText::kIndent, ClsHtmlToText::kMaxIndent);
    }
    enter(nChild, nIndent, objFrame.nPreDepth);
  }
  return m_objText.takeText();
}

void TextWalk::put(Break nBreak) {
  if (nBreak == Break::kLine) m_objText.freshLine();
  if (nBreak == Break::kBlank) m_objText.blankLine();
}

void TextWalk::emitText(std::string_view strText, std::size_t nIndent, std::size_t nPreDepth) {
  if (nPreDepth > 0) return m_objText.emitPre(strText, nIndent);
  m_objText.emitText(strText, nIndent, m_objForm.nMargin);
}

// Goes into a node that has more to it than a text or a break.
void TextWalk::enter(Index nNode, std::size_t nIndent, std::size_t nPreDepth) {
  const HtmlTree::Node& objNode = m_objTree.at(nNode);
  if (m_arrFrames.size() > m_objForm.nMaxDepth) {
    return m_objText.append("[ERROR: Maximum recursion depth exceeded.]");
  }
  if (objNode.nTag == HtmlTree::kTextTag) return emitText(objNode.strText, nIndent, nPreDepth);
  if (objNode.nTag == kBr) return m_objText.lineBreak();
  if (isHidden(objNode.nTag)) return;
  const std::size_t nStart = m_objText.text().size();
  if (objNode.nTag == kPre) ++nPreDepth;
  put(breaksOf(nNode).nBefore);
  m_arrFrames.push_back({nNode, objNode.nFirstChild, nIndent, nPreDepth, nStart});
}

void TextWalk::leave(const Frame& objFrame) {
  const std::uint32_t nTag = m_objTree.at(objFrame.nNode).nTag;
  if (nTag == kPre && m_objForm.bPreApart) m_objText.endLineTrimmed();
  if (nTag == kHr) m_objText.rule(objFrame.nIndent, m_objForm.nMargin);
  put(breaksOf(objFrame.nNode).nAfter);
  if (nTag == kA && m_objForm.bLinks) putTarget(objFrame);
}

// Where a link leads to, unless its text says so itself.
void TextWalk::putTarget(const Frame& objFrame) {
  constexpr std::string_view kMailto = "mailto:";
  StringBuffer strHref;
  m_objTree.attribute(objFrame.nNode, "href", strHref);
  std::string_view strTarget = strHref.view();
  if (beginsWithNoCase(strTarget, kMailto)) strTarget.remove_prefix(kMailto.size());
  const std::string_view strText = m_objText.text();
  const std::size_t nStart = std::min(objFrame.nLinkStart, strText.size());
  if (strTarget.empty() || equalsNoCase(trimmed(strText.substr(nStart)), strTarget)) return;
  const std::string strShown = '<' + std::string(strTarget) + '>';
  if (m_objForm.nMargin >= 1) m_objText.endLineTrimmed();
  if (objFrame.nPreDepth > 0) {
    m_objText.emitPre(strShown, objFrame.nIndent);
  } else {
    m_objText.emitText(strShown, objFrame.nIndent, 0);
  }
  if (m_objForm.nMargin >= 1) m_objText.freshLine();
}

// The first bytes of a text with everything but printable ASCII as "=XX".
std::string startInQp(std::string_view strText) {
  constexpr std::size_t kMaxLogged = 512;
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string strShown;
  for (const char ch : strText.substr(0, kMaxLogged)) {
    if (ch > ' ' && ch < '\x7F' && ch != '=') {
      strShown += ch;
    } else {
      const auto nByte = static_cast<unsigned char>(ch);
      strShown += {'=', kDigits[nByte >> 4], kDigits[nByte & 0x0F]};
    }
  }
  return strShown;
}

// What mails bring as HTML, ready for the parser: text in front of the first tag is not to be lost,
// and a bare "<a>" is a misspelt end tag in them.
std::string prepared(std::string_view strHtml) {
  std::string strOut;
  const std::size_t nFirst = strHtml.find_first_not_of(" \t\r");
  if (nFirst != std::string_view::npos && strHtml[nFirst] != '<') strOut = "<html>";
  constexpr std::string_view kAnchor = "<a>";
  strOut.reserve(strOut.size() + strHtml.size());
  for (std::size_t n = 0; n < strHtml.size();) {
    const std::size_t nEnd = std::min(findNoCase(strHtml, kAnchor, n), strHtml.size());
    strOut.append(strHtml.substr(n, nEnd - n));
    if (nEnd != strHtml.size()) strOut += "</a>";
    n = nEnd + kAnchor.size();
  }
  return strOut;
}

// Without the empty lines at its start and the white space at its end.
std::string_view withoutEdges(std::string_view strText) {
  const std::size_t nEnd = strText.find_last_not_of(" \t\r\n");
  if (nEnd == std::string_view::npos) return {};
  strText = strText.substr(0, nEnd + 1);
  return strText.substr(strText.find_first_not_of("\r\n"));
}

class Stopwatch {
 public:
  std::int64_t milliseconds() const {
    const auto nTime = std::chrono::steady_clock::now() - m_nStart;
    return std::chrono::duration_cast<std::chrono::milliseconds>(nTime).count();
  }

 private:
  std::chrono::steady_clock::time_point m_nStart = std::chrono::steady_clock::now();
};

std::string textOfTree(const HtmlTree& objTree, const TextWalk::Form& objForm, LogBase& log) {
  const LogContextExitor objContext(log, "xmlToText");
  const Stopwatch objTime;
  std::string strText;
  {
    const LogContextExitor objWalk(log, "recursiveToText");
    strText = TextWalk(objTree, objForm).recursiveToText();
  }
  log.LogDataLong("toTextTime", objTime.milliseconds());
  return strText;
}

}  // namespace

bool ClsHtmlToText::ToText(XString& html, XString& out) {
  ClsOperation objOperation(*this, "ToText");
  const std::string_view strHtml = html.utf8().view();
  if (m_log.m_bVerbose) m_log.LogData("inQP_utf8", startInQp(strHtml));
  ClsHtmlToXml objToXml;
  objToXml.setHtml(prepared(strHtml));
  objToXml.m_parse.keepTag("br");
  objToXml.m_parse.dropTag("span");
  objToXml.m_parse.m_nbspMode = _ckHtmlParse::kNbspStays;
  objToXml.m_parse.m_entityDigits = m_entityDigits;
  const Stopwatch objTime;
  HtmlTree objTree;
  const bool bParsed = objToXml.toTree(objTree, m_log);
  m_log.LogDataLong("toXmlTime", objTime.milliseconds());
  if (!bParsed) {
    m_log.LogError("HTML to text conversion failed.");
    return objOperation.done(false);
  }
  const std::string strText =
      textOfTree(objTree, {m_maxDepth, m_rightMargin, !m_suppressLinks, m_preApart}, m_log);
  const std::string_view strShown = withoutEdges(strText);
  if (!m_decodeHtmlEntities || strShown.find('&') == std::string_view::npos) {
    return objOperation.done(out.setFromUtf8(strShown));
  }
  StringBuffer strDecoded(strShown);
  _ckHtmlHelp::decodeEntities(strDecoded, m_entityDigits);
  return objOperation.done(out.setFromUtf8(strDecoded.view()));
}

}  // namespace mail
