#include <algorithm>
#include <array>
#include <new>
#include <string>
#include <utility>

#include "archive/EventAttributes.h"
#include "archive/Mhtml.h"
#include "archive/SetAside.h"
#include "archive/TagPass.h"
#include "archive/Uuid.h"
#include "base/AsciiText.h"
#include "base/LogContextExitor.h"
#include "charset/CodePages.h"
#include "html/CkHtmlHelp.h"
#include "mime/encoding/MailCharset.h"
#include "mime/tree/MimeMessage2.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

struct Folding {
  std::string_view strFrom;
  std::string_view strTo;
};
// Tags in capitals, to which no pass but one without regard to case would come. In this order.
constexpr std::array kFoldings = std::to_array<Folding>({
    {"<BODY", "<body"},       {"<FRAME", "<frame"},     {"<TABLE", "<table"},
    {"<TD", "<td"},           {"<IFRAME", "<iframe"},   {"<NOSCRIPT", "<noscript"},
    {"<SCRIPT", "<script"},   {"</IFRAME", "</iframe"}, {"</NOSCRIPT", "</noscript"},
    {"</SCRIPT", "</script"}, {"</TITLE", "</title"},   {"<TITLE", "<title"},
    {"<INPUT", "<input"},     {"<IMG", "<img"},         {"<IMAGE", "<img"},
    {"<image", "<img"},       {"<LINK", "<link"},       {"BACKGROUND-IMAGE", "background-image"},
    {"<V:", "<v:"},
});

struct Link {
  std::string_view strNeedle;
  std::string_view strAttribute;
};
constexpr std::array kLinks = std::to_array<Link>({
    {"<area", "HREF"},
    {"<a ", "HREF"},
    {"<a\r", "HREF"},
    {"<a\n", "HREF"},
    {"<a\t", "HREF"},
    {"<embed", "SRC"},
    {"<form", "ACTION"},
});

std::size_t countOf(std::string_view strText, std::string_view strPart) {
  std::size_t nCount = 0;
  for (std::size_t n = findBytes(strText, strPart); n != kNone;
       n = findBytes(strText, strPart, n + strPart.size())) {
    ++nCount;
  }
  return nCount;
}

void insertAt(StringBuffer& strText, std::size_t nPlace, std::string_view strNew) {
  StringBuffer strOut(strText.view().substr(0, nPlace));
  (void)strOut.append(strNew);
  (void)strOut.append(strText.view().substr(nPlace));
  strText = std::move(strOut);
}

std::string metaTag(std::string_view strCharset) {
  return "<META http-equiv=\"Content-Type\" content=\"text/html;charset=" +
         std::string(strCharset) + "\">";
}

// How far a script goes that has no end tag: to the end of a comment, else of its tag. What is not
// there is looked for once.
class OpenScripts {
 public:
  std::size_t endOf(std::string_view strRest, bool bComment) {
    std::size_t nEnd = bComment ? find(strRest, "-->", m_bComments) : kNone;
    if (nEnd == kNone) nEnd = find(strRest, ">", m_bTags);
    return std::min(nEnd, strRest.size());
  }

 private:
  static std::size_t find(std::string_view strText, std::string_view strEnd, bool& bAny) {
    const std::size_t nFound = bAny ? findBytes(strText, strEnd) : kNone;
    bAny = nFound != kNone;
    return bAny ? nFound + strEnd.size() : kNone;
  }

  bool m_bComments = true;
  bool m_bTags = true;
};

}  // namespace

void Mhtml::processDocument(StringBuffer& strHtml, MimeMessage2* pFrame, LogBase& log) {
  strHtml.trim();
  SetAside::guardPlaces(strHtml);
  for (const Folding& objFolding : kFoldings) {
    (void)strHtml.replaceAll(objFolding.strFrom, objFolding.strTo);
  }
  m_dropScripts = m_noScripts || (!m_preferScripts && strHtml.contains("<noscript>"));
  addExtraStyleSheets(strHtml, log);
  SetAside objSetAside;
  extractStyles(strHtml, objSetAside, log);
  if (!m_dropScripts) rewriteScripts(strHtml, "<script", log);
  extractScripts(strHtml, objSetAside, log);
  if (m_dropScripts) {
    log.LogInfo("Removing NOSCRIPT tags..");
    for (const std::string_view strTag : {"<NOSCRIPT>", "<noscript>", "</NOSCRIPT>", "</noscript>"})
      (void)strHtml.replaceAll(strTag, {});
  }
  MimeMessage2& objPart = pFrame != nullptr ? *pFrame : addMainPart(strHtml, log);
  rewriteTagsOf(strHtml, log);
  objSetAside.putBack(strHtml);
  addResourceParts(strHtml.view(), log);
  if (m_useCids) restoreUrls(strHtml);
  (void)strHtml.toCrLf();
  DataBuffer arrBody;
  (void)arrBody.append(strHtml);
  objPart.setBodyInCharset(std::move(arrBody));
}

void Mhtml::addExtraStyleSheets(StringBuffer& strHtml, LogBase& log) {
  StringBuffer strStyles;
  for (const std::string& strUrl : m_extraStyleSheets) {
    (void)includeStyleSheet(strUrl, {}, strStyles, log);
  }
  if (strStyles.isEmpty()) return;
  const std::size_t nHead = findNoCase(strHtml.view(), "</head>");
  insertAt(strHtml, nHead == kNone ? 0 : nHead, strStyles.view());
}

// A script that goes may hold the places of styles; they go with it, and what is put back in their
// turn is nothing.
void Mhtml::extractScripts(StringBuffer& strHtml, SetAside& objSetAside, LogBase& log) {
  OpenScripts objOpen;
  std::size_t nCounted = 0;
  std::size_t nStyles = 0;
  rewriteBlocks(strHtml, "<script", "</script>",
                [&](std::string_view strBlock, bool bClosed, StringBuffer& strOut) {
                  if (!bClosed) log.LogError("Unclosed SCRIPT tag!");
                  if (!bClosed)
                    strBlock = strBlock.substr(0, objOpen.endOf(strBlock, m_dropScripts));
                  if (!m_dropScripts && bClosed) {
                    objSetAside.arrScripts.emplace_back(strBlock);
                    (void)strOut.append(SetAside::kScriptPlace);
                  } else if (!m_dropScripts) {
                    (void)strOut.append(strBlock);
                  } else {
                    nStyles += countOf(strOut.view().substr(nCounted), SetAside::kStylePlace);
                    for (std::size_t n = countOf(strBlock, SetAside::kStylePlace); n > 0; --n) {
                      objSetAside.arrStyles.at(nStyles++).clear();
                      (void)strOut.append(SetAside::kStylePlace);
                    }
                    nCounted = strOut.getSize();
                  }
                  return strBlock.size();
                });
}

MimeMessage2& Mhtml::addMainPart(StringBuffer& strHtml, LogBase& log) {
  StringBuffer strNamed;
  _ckHtmlHelp::charsetFromMetaTag(strHtml.view(), strNamed);
  log.LogData("htmlCharset", strNamed.view());
  _ckCharset objNamed;
  if (!strNamed.isEmpty()) (void)mail_charset::setByName(objNamed, strNamed.view());
  // Text in bytes is none in units of two or four.
  if (code_page::isWide(static_cast<unsigned>(objNamed.getCodePage()))) {
    strNamed.clear();
    objNamed.clear();
  }
  // What a page on disk says of itself counts more than what one before it said.
  if (m_isLocal && objNamed.getCodePage() != 0) m_charset.clear();
  std::string strCharset(strNamed.view());
  if (m_charset.getCodePage() != 0) {
    strCharset = m_charset.getName().view();
    log.LogDataLong("CodePage1", m_charset.getCodePage());
    const std::size_t nTitle = strNamed.isEmpty() ? findBytes(strHtml.view(), "</title>") : kNone;
    if (nTitle != kNone)
      insertAt(strHtml, nTitle + std::string_view("</title>").size(), metaTag(strCharset));
  } else if (!strNamed.isEmpty()) {
    m_charset = objNamed;
    log.LogDataLong("codePage2", m_charset.getCodePage());
  }
  auto pPart = makeOwned<MimeMessage2>();
  if (pPart == nullptr) throw std::bad_alloc();
  std::string strType = pageType(strHtml.view());
  if (!strCharset.empty()) strType += "; charset=\"" + strCharset + "\"";
  pPart->setHeaderField("Content-Type", strType, log);
  pPart->setEncoding("quoted-printable", log);
  pPart->setHeaderField(kLocationField, m_pageUrl.view(), log);
  MimeMessage2& objPart = *pPart;
  if (!m_pRoot->parts().append(std::move(pPart))) throw std::bad_alloc();
  return objPart;
}

void Mhtml::rewriteTagsOf(StringBuffer& strHtml, LogBase& log) {
  rewriteFrames(strHtml, "<frame ", log);
  rewriteFrames(strHtml, "<iframe ", log);
  rewriteImages(strHtml, "<img", log);
  rewriteImages(strHtml, "<v:", log);
  rewriteScripts(strHtml, "<input", log);
  {
    const LogContextExitor objContext(log, "makeAbsoluteUrls");
    for (const Link& objLink : kLinks)
      makeAbsolute(strHtml, objLink.strNeedle, objLink.strAttribute);
  }
  if (!m_dropScripts) rewriteRollovers(strHtml, log);
  updateLinkHrefs(strHtml, log);
  if (m_dropScripts) removeEventAttributes(strHtml);
  const LogContextExitor objContext(log, "updateTagBackgroundImages");
  for (const std::string_view strNeedle : {"<body", "<table", "<td"}) {
    rewriteBackgrounds(strHtml, strNeedle, log);
  }
}

// What is left in m_cidToUrl could not be had: its tags get back the URL, under which a reader with
// a network may still find it.
void Mhtml::restoreUrls(StringBuffer& strHtml) const {
  constexpr std::string_view kStart = "cid:CID-";
  const std::string_view strText = strHtml.view();
  StringBuffer strOut;
  std::size_t nCopied = 0;
  for (std::size_t n = findBytes(strText, kStart); n != kNone;) {
    const std::string strId(strText.substr(n, kStart.size() + kUuidBytes));
    const auto it = m_cidToUrl.find(strId);
    std::size_t nNext = n + kStart.size();
    if (it != m_cidToUrl.end()) {
      (void)strOut.append(strText.substr(nCopied, n - nCopied));
      (void)strOut.append(it->second);
      nNext = nCopied = n + strId.size();
    }
    n = findBytes(strText, kStart, nNext);
  }
  if (nCopied == 0) return;
  (void)strOut.append(strText.substr(nCopied));
  strHtml = std::move(strOut);
}

}  // namespace mail
