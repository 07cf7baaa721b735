#include "html/CkHtmlParse.h"

#include <algorithm>
#include <initializer_list>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "base/LogContextExitor.h"
#include "base/MemoryShortage.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "html/NamedEntities.h"
#include "html/ParseEngine.h"

namespace mail {
namespace {

using Index = HtmlTree::Index;
constexpr std::size_t kNone = std::string_view::npos;

constexpr std::uint32_t kUl = tagNumber("ul");
constexpr std::uint32_t kOl = tagNumber("ol");
constexpr std::uint32_t kDl = tagNumber("dl");
constexpr std::uint32_t kBlockquote = tagNumber("blockquote");
constexpr std::uint32_t kTable = tagNumber("table");
constexpr std::uint32_t kTd = tagNumber("td");
constexpr std::uint32_t kTh = tagNumber("th");
constexpr std::uint32_t kTr = tagNumber("tr");
constexpr std::uint32_t kHead = tagNumber("head");
// Of these one ends where the next begins, unless it holds the list, quote or cell around the new
// one: that would be torn.
constexpr std::array kEndsAtNext = {tagNumber("li"), tagNumber("p"),      tagNumber("dd"),
                                    tagNumber("dt"), tagNumber("option"), tagNumber("pre")};

// The elements that are open, the innermost on top. Places count from 1, so that 0 is none; for
// each tag the topmost place is known, so that nothing has to be looked for.
class OpenTags {
 public:
  std::size_t size() const { return m_arrOpen.size(); }
  bool empty() const { return m_arrOpen.empty(); }
  Index top() const { return m_arrOpen.back().nNode; }
  std::size_t placeOf(std::uint32_t nTag) const {
    return nTag < m_arrPlaces.size() ? m_arrPlaces[nTag] : 0;
  }
  std::size_t topmostOf(std::initializer_list<std::uint32_t> arrTags) const {
    std::size_t nPlace = 0;
    for (const std::uint32_t nTag : arrTags) nPlace = std::max(nPlace, placeOf(nTag));
    return nPlace;
  }

  void open(std::uint32_t nTag, Index nNode) {
    if (nTag >= m_arrPlaces.size()) m_arrPlaces.resize(nTag + 1);
    m_arrOpen.push_back({nNode, nTag, m_arrPlaces[nTag]});
    m_arrPlaces[nTag] = m_arrOpen.size();
  }
  // Closes the element at that place with all above it; nothing for 0.
  void close(std::size_t nPlace) {
    if (nPlace != 0) shrinkTo(nPlace - 1);
  }
  void shrinkTo(std::size_t nSize) {
    while (m_arrOpen.size() > nSize) {
      m_arrPlaces[m_arrOpen.back().nTag] = m_arrOpen.back().nBelow;
      m_arrOpen.pop_back();
    }
  }

 private:
  struct Open {
    Index nNode;
    std::uint32_t nTag;
    std::size_t nBelow;  // the next place of the same tag
  };
  std::vector<Open> m_arrOpen;
  std::vector<std::size_t> m_arrPlaces;  // by tag
};

// One run of the parser over a text. Every byte is looked at a fixed number of times: a search that
// once came to the end of the text without finding is not begun again.
class TreeBuilder {
 public:
  TreeBuilder(HtmlTree& objTree, std::string_view strText, std::span<const bool> aDropped,
              const _ckHtmlParse& objOptions, LogBase& log)
      : m_objTree(objTree),
        m_strText(strText),
        m_objParse(strText),
        m_aDropped(aDropped),
        m_objOptions(objOptions),
        m_log(log) {}

  void build();

 private:
  Index current() const { return m_objOpen.empty() ? HtmlTree::kRoot : m_objOpen.top(); }
  std::string_view rest() const { return m_strText.substr(m_objParse.position()); }

  std::size_t findTag(std::size_t nFrom) const;
  void addText(std::string_view strText);
  bool takeDeclaration();
  bool takeComment();
  void takeTag();
  void startTag(std::uint32_t nTag, std::string_view strRaw);
  void endTag(std::uint32_t nTag);
  void implyTags(std::uint32_t nTag);
  void closeCells(std::uint32_t nTag);
  void addVerbatim(std::uint32_t nTag, Index nNode);

  HtmlTree& m_objTree;
  std::string_view m_strText;
  ParseEngine m_objParse;
  std::span<const bool> m_aDropped;
  const _ckHtmlParse& m_objOptions;
  LogBase& m_log;
  OpenTags m_objOpen;
  bool m_bNoMoreComments = false;              // no "-->" behind the position
  std::array<bool, kMaxKnownTags> m_aNoEnd{};  // no end tag of that verbatim element
  std::string m_strDecoded;
  DataBuffer m_arrDecoded;
};

// Text in front of the first "<" is passed over, unless there is nothing else.
void TreeBuilder::build() {
  const std::size_t nFirst = m_strText.find('<');
  if (nFirst == kNone) return addText(m_strText);
  m_objParse.setPosition(nFirst);
  while (!m_objParse.atEnd()) {
    m_objOpen.shrinkTo(std::min(m_objOpen.size(), _ckHtmlParse::kMaxOpen));
    const std::size_t nStart = m_objParse.position();
    const std::size_t nTag = findTag(nStart);
    addText(m_strText.substr(nStart, nTag - nStart));
    m_objParse.setPosition(nTag);
    if (!m_objParse.atEnd() && !takeDeclaration()) takeTag();
  }
}

// The next "<" that begins a tag: "1 < 2" and "<3" are text.
std::size_t TreeBuilder::findTag(std::size_t nFrom) const {
  for (std::size_t n = m_strText.find('<', nFrom); n != kNone; n = m_strText.find('<', n + 1)) {
    std::size_t nName = n + 1;
    if (nName < m_strText.size() && (m_strText[nName] == '!' || m_strText[nName] == '?')) return n;
    while (nName < m_strText.size() && isAsciiSpace(m_strText[nName])) ++nName;
    if (nName == m_strText.size()) return kNone;
    if (m_strText[nName] == '/' || isAsciiLetter(m_strText[nName])) return n;
  }
  return kNone;
}

void TreeBuilder::addText(std::string_view strText) {
  if (strText.empty()) return;
  if (strText.find('&') == kNone) {
    (void)m_objTree.add(current(), HtmlTree::kTextTag, strText);
    return;
  }
  constexpr std::array<std::string_view, 3> kNbspTexts = {" ", "\xC2\xA0", ""};
  StringBuffer strNbsp;
  if (m_objOptions.m_nbspMode < kNbspTexts.size()) {
    (void)strNbsp.setString(strText);
    (void)strNbsp.replaceAll("&nbsp;", kNbspTexts[m_objOptions.m_nbspMode]);
    strText = strNbsp.view();
  }
  m_strDecoded.clear();
  decodeNamedEntities(strText, NbspEntity::kStays, m_strDecoded);
  m_arrDecoded.weakClear();
  _ckHtmlHelp::decodeNumericEntities(m_strDecoded, m_arrDecoded, code_page::kUtf8, m_log,
                                     m_objOptions.m_entityDigits);
  const std::string_view strKept = m_objTree.keep(m_arrDecoded.view());
  if (!strKept.empty()) (void)m_objTree.add(current(), HtmlTree::kTextTag, strKept);
}

// A document type or a comment at the position. Other things that begin as they do, and comments
// without an end, are read as tags: what stands behind them must not be lost.
bool TreeBuilder::takeDeclaration() {
  constexpr std::string_view kDoctype = "<!DOCTYPE";
  if (rest().starts_with("<!--")) return takeComment();
  if (!beginsWithNoCase(rest(), kDoctype)) return false;
  const std::size_t nEnd = std::min(rest().find('>'), rest().size());
  const auto strText = rest().substr(kDoctype.size(), nEnd - kDoctype.size());
  (void)m_objTree.add(current(), HtmlTree::kDoctypeTag, strText);
  m_objParse.setPosition(m_objParse.position() + nEnd + 1);
  return true;
}

bool TreeBuilder::takeComment() {
  if (m_bNoMoreComments) return false;
  constexpr std::string_view kStart = "<!--";
  constexpr std::string_view kEnd = "-->";
  const std::size_t nEnd = findBytes(rest(), kEnd, 2);  // "<!-->" is a whole one
  m_bNoMoreComments = nEnd == kNone;
  if (m_bNoMoreComments) return false;
  if (!m_objOptions.m_dropComments) {
    const std::size_t nText = std::min(kStart.size(), nEnd);
    (void)m_objTree.add(current(), HtmlTree::kCommentTag, rest().substr(nText, nEnd - nText));
  }
  m_objParse.setPosition(m_objParse.position() + nEnd + kEnd.size());
  return true;
}

void TreeBuilder::takeTag() {
  const std::string_view strRaw = m_objParse.takeToUnquoted('>');
  m_objParse.skip();
  if (strRaw.starts_with("<!") || strRaw.starts_with("<?")) return;  // an instruction to somebody
  std::string_view strName = strRaw.substr(1);
  const auto skipSpace = [&] {
    while (!strName.empty() && isAsciiSpace(strName.front())) strName.remove_prefix(1);
  };
  skipSpace();
  const bool bEnd = strName.starts_with('/');
  if (bEnd) strName.remove_prefix(1);
  skipSpace();
  strName = strName.substr(0, strName.find_first_of(" \t\r\n/"));
  if (strName.empty()) return;
  const std::uint32_t nTag = m_objTree.numberOf(strName);
  if (nTag < m_aDropped.size() && m_aDropped[nTag]) return;
  bEnd ? endTag(nTag) : startTag(nTag, strRaw);
}

// Whether the tag ends in "/>", not as the end of a value.
bool isClosed(std::string_view strRaw) {
  if (!strRaw.ends_with('/')) return false;
  StringBuffer strTag(strRaw);
  (void)strTag.appendChar('>');
  StringBuffer strClean;
  _ckHtmlHelp::cleanHtmlTag(strTag.view(), strClean);
  return strClean.endsWith("/>");
}

void TreeBuilder::startTag(std::uint32_t nTag, std::string_view strRaw) {
  implyTags(nTag);
  const Index nNode = m_objTree.add(current(), nTag, strRaw);
  const HtmlContent nContent =
      nTag < kHtmlTags.size() ? kHtmlTags[nTag].nContent : HtmlContent::kMarkup;
  if (nContent == HtmlContent::kNone || isClosed(strRaw)) return;
  if (nContent == HtmlContent::kVerbatim) return addVerbatim(nTag, nNode);
  m_objOpen.open(nTag, nNode);
}

void TreeBuilder::endTag(std::uint32_t nTag) { m_objOpen.close(m_objOpen.placeOf(nTag)); }

// Without its end tag a script, style or comment ends at the next tag: better some of it in the page
// than a page that is lost in it.
void TreeBuilder::addVerbatim(std::uint32_t nTag, Index nNode) {
  const std::size_t nStart = m_objParse.position();
  const std::string strEnd = "</" + std::string(kHtmlTags[nTag].strName);
  if (m_aNoEnd[nTag] || !m_objParse.seek(strEnd)) {
    m_aNoEnd[nTag] = true;
    m_objParse.setPosition(m_strText.find('<', nStart));
  }
  const auto strContent = m_strText.substr(nStart, m_objParse.position() - nStart);
  if (!strContent.empty()) (void)m_objTree.add(nNode, HtmlTree::kVerbatimTag, strContent);
}

// What a start tag closes and opens beside itself.
void TreeBuilder::implyTags(std::uint32_t nTag) {
  if (nTag >= kHtmlTags.size()) return;
  if (!kHtmlTags[nTag].bInHead) m_objOpen.close(m_objOpen.placeOf(kHead));
  if (nTag == kTd || nTag == kTh || nTag == kTr) return closeCells(nTag);
  if (std::find(kEndsAtNext.begin(), kEndsAtNext.end(), nTag) == kEndsAtNext.end()) return;
  const std::size_t nSame = m_objOpen.placeOf(nTag);
  if (nSame > m_objOpen.topmostOf({kUl, kOl, kDl, kTd, kTh, kBlockquote})) m_objOpen.close(nSame);
}

// A cell closes the cell before it and stays in the row, for rows are what breaks the text of a
// table; a row closes the row before it with its cells. Neither reaches out of its table. A cell in
// a table stands in a row.
void TreeBuilder::closeCells(std::uint32_t nTag) {
  const std::size_t nCell = m_objOpen.topmostOf({kTd, kTh});
  if (nCell > m_objOpen.topmostOf({kTr, kTable})) m_objOpen.close(nCell);
  if (nTag == kTr) {
    const std::size_t nRow = m_objOpen.placeOf(kTr);
    if (nRow > m_objOpen.topmostOf({kTd, kTh, kTable})) m_objOpen.close(nRow);
  } else if (m_objOpen.placeOf(kTable) > m_objOpen.placeOf(kTr)) {
    m_objOpen.open(kTr, m_objTree.add(current(), kTr, "<tr"));
  }
}

// The text in UTF-8, less some controls that mailers leave in it.
std::string textOf(std::string strText, unsigned nPage, LogBase& log) {
  if (nPage != code_page::kUtf8 && nPage != 0) {
    EncodingConvert objConvert;
    DataBuffer arrConverted;
    (void)objConvert.convertText(nPage, code_page::kUtf8, strText.data(), strText.size(),
                                 arrConverted, log);
    strText = arrConverted.view();
  }
  if (byte_search::hasByteBetween(strText, 0x19, 0x1D)) {
    std::erase_if(strText, [](char ch) { return ch == '\x19' || ch == '\x1C' || ch == '\x1D'; });
  }
  return strText;
}

}  // namespace

void _ckHtmlParse::setDropped(std::string_view strName, bool bDropped) {
  StringBuffer strLower(strName);
  strLower.toLowerCase();
  const std::uint32_t nTag = numberOfTag(strLower.view());
  if (nTag < m_aDropped.size()) m_aDropped[nTag] = bDropped;
}

bool _ckHtmlParse::parseHtml(std::string strHtml, unsigned nPage, HtmlTree& objTree,
                             LogBase& log) const {
  const LogContextExitor objContext(log, "parseHtml");
  log.LogDataLong("HtmlCodePage", nPage);
  try {
    const std::string_view strText = objTree.setSource(textOf(std::move(strHtml), nPage, log));
    TreeBuilder(objTree, strText, m_aDropped, *this, log).build();
    return true;
  } catch (const std::bad_alloc&) {
    noteMemoryShortage();
    log.LogError("Failed to parse HTML");
    return false;
  }
}

}  // namespace mail
