#include "archive/Mhtml.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <string>
#include <thread>
#include <utility>

#include "archive/UrlText.h"
#include "archive/Uuid.h"
#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "base/LogContextExitor.h"
#include "charset/ByteOrderMarks.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "charset/WideText.h"
#include "html/CkHtmlHelp.h"
#include "mime/encoding/MailCharset.h"
#include "mime/header/MailDate.h"
#include "mime/tree/MimeMessage2.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kUserAgent =
    "Mozilla/5.0 (Windows NT 6.3; WOW64; Trident/7.0; MALNJS; rv:11.0) like Gecko";
constexpr std::size_t kMaxPageUrlBytes = 999;

// The path of a page as it was named, with or without its "file:///".
std::string pathOfPage(std::string_view strLocation) {
  std::string strPath(trimmed(strLocation));
  for (const std::string_view strScheme : {"file:///", "FILE:///"}) {
    const std::size_t nFound = strPath.find(strScheme);
    if (nFound != std::string::npos) strPath.replace(nFound, strScheme.size(), "/");
  }
  std::ranges::replace(strPath, '\\', '/');
  return strPath;
}

void nameAsUtf8(StringBuffer& strHtml, LogBase& log) {
  _ckHtmlHelp::removeCharsetMetaTag(strHtml);
  (void)_ckHtmlHelp::addCharsetMetaTag(strHtml, "utf-8", log);
}

bool namesAnother(std::string_view strHtml) {
  StringBuffer strNamed;
  _ckHtmlHelp::charsetFromMetaTag(strHtml, strNamed);
  return !strNamed.isEmpty() && !strNamed.equalsIgnoreCase("utf-8");
}

// A page that says it will be there in a moment.
bool asksForRefresh(std::string_view strHtml) {
  return findNoCase(strHtml, "<META HTTP-EQUIV=\"Refresh\" CONTENT=\"0.1\">") != kNone;
}

}  // namespace

Mhtml::Mhtml() {
  m_http.m_strUserAgent = kUserAgent;
  m_http.m_nReadTimeoutMs = kReadTimeoutMs;
  m_http.m_nMaxSizeMb = kMaxResponseMb;
}

Mhtml::~Mhtml() = default;

void Mhtml::begin(bool bIsLocal, bool bFromMemory) {
  m_isLocal = bIsLocal;
  m_fromMemory = bFromMemory;
  m_pageUrl.clear();
  m_contexts.removeAll();
  (void)context();
  m_files.setFree();
  m_http.forgetSilentHosts();
}

bool Mhtml::convertFileUtf8(XString& strPath, std::string_view strBaseUrl, Form nForm,
                            XString& strMime, LogBase& log) {
  const LogContextExitor objContext(log, "convertFileUtf8_2");
  strMime.clear();
  begin(/*bIsLocal=*/true, /*bFromMemory=*/false);
  const auto strFound =
      m_files.find({pathOfPage(strPath.utf8().view()), pathOfPage(strPath.ansi().view())});
  if (!strFound) {
    log.LogError("There is no such file.");
    return false;
  }
  std::string& strFolder = context().m_strFolder;
  strFolder = LocalFiles::folderOf(*strFound);
  if (strFolder.empty()) strFolder = "./";
  (void)context().base_url.setString(strBaseUrl);
  log.LogData("baseDir", ansiToUtf8(strFolder));
  log.LogData("baseUrl", strBaseUrl);
  DataBuffer arrBytes;
  if (!m_files.load(*strFound, arrBytes)) {
    log.LogError(m_files.failure());
    return false;
  }
  if (m_bConfineToFolder) m_files.confineTo(strFolder);
  StringBuffer strHtml;
  if (decodeMarks(arrBytes, /*nToldPage=*/0, strHtml, log)) (void)m_charset.setByName("utf-8");
  m_nBroughtBytes = 0;
  std::vector<std::string> arrChain = {LocalFiles::canonicalPath(*strFound)};
  processIncludes(strHtml, arrChain, log);
  return buildDocument(strHtml, nForm, strMime, log);
}

// The page of text in units of two or four bytes, by its mark or by its bytes, else as told; 0 for
// other text.
unsigned Mhtml::widePageOf(std::string_view strBytes, unsigned nTold) const {
  if (const unsigned nPage = m_bJudgesBytes ? wideTextPage(strBytes) : 0; nPage != 0) return nPage;
  if (strBytes.size() > 2 && strBytes.starts_with("\xFE\xFF")) return code_page::kUtf16BigEndian;
  if (strBytes.size() > 2 && strBytes.starts_with("\xFF\xFE")) return code_page::kUtf16;
  const bool bWide = code_page::isWide(nTold) && strBytes.find('\0') != kNone;
  return bWide ? nTold : 0;
}

// The mark at the start of a text says how it is to be read, else, where it is of units of two or
// four bytes, nToldPage. True when the text is UTF-8 by that, and then it names no other charset.
bool Mhtml::decodeMarks(const DataBuffer& arrBytes, int nToldPage, StringBuffer& strHtml,
                        LogBase& log) {
  std::string_view strBytes = arrBytes.view();
  const bool bUtf8 = strBytes.size() > 3 && strBytes.starts_with(byte_order::kUtf8Mark);
  if (bUtf8) strBytes.remove_prefix(byte_order::kUtf8Mark.size());
  const unsigned nWide = widePageOf(strBytes, static_cast<unsigned>(nToldPage));
  DataBuffer arrUtf8;
  if (nWide != 0) {
    (void)EncodingConvert().convertText(nWide, code_page::kUtf8, strBytes.data(), strBytes.size(),
                                        arrUtf8, log);
    strBytes = arrUtf8.view();
  }
  (void)strHtml.setString(strBytes);
  strHtml.replaceAnyOf({"\0", 1}, ' ');
  if (nWide != 0 || (bUtf8 && namesAnother(strHtml.view()))) nameAsUtf8(strHtml, log);
  return nWide != 0 || bUtf8;
}

bool Mhtml::convertHttpGetUtf8(std::string_view strGiven, Form nForm, XString& strMime,
                               LogBase& log) {
  log.LogInfo("mht_get_url");
  strMime.clear();
  begin(/*bIsLocal=*/false, /*bFromMemory=*/false);
  m_charset.clear();
  context().m_bFromNetwork = true;
  std::string strUrl(strGiven.substr(0, strGiven.find('#')));
  if (strUrl.size() <= HttpControl::kMaxUrlBytes) {
    (void)m_pageUrl.setString(std::string_view(strUrl).substr(0, kMaxPageUrlBytes));
  }
  setBaseUrls(strUrl, log);
  HttpControl::Document objDocument;
  if (!fetchPage(strUrl, objDocument, log)) return false;
  if (asksForRefresh(objDocument.arrBytes.view())) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    log.LogInfo("Getting web page from META refresh...");
    objDocument = {};
    if (!fetchPage(strUrl, objDocument, log)) return false;
  }
  if (!objDocument.strFinalUrl.empty()) {
    log.LogInfo("Resetting root and base URLs because of redirection.");
    setBaseUrls(objDocument.strFinalUrl, log);
  }
  StringBuffer strHtml;
  decodeResponse(objDocument.arrBytes, objDocument.strCharset, strHtml, log);
  objDocument.arrBytes.clear();
  m_nBroughtBytes = 0;
  return buildDocument(strHtml, nForm, strMime, log);
}

bool Mhtml::fetchPage(const std::string& strUrl, HttpControl::Document& objDocument, LogBase& log) {
  const bool bFetched = m_http.httpGetDocument(strUrl, objDocument, m_connPool, log);
  if (!bFetched && m_pObserver != nullptr) m_pObserver->missing(strUrl, m_http.failure());
  return bFetched;
}

// Afterwards the text is in m_charset.
void Mhtml::decodeResponse(DataBuffer& arrBytes, const std::string& strHttpCharset,
                           StringBuffer& strHtml, LogBase& log) {
  if (!strHttpCharset.empty()) (void)mail_charset::setByName(m_charset, strHttpCharset);
  if (decodeMarks(arrBytes, m_charset.getCodePage(), strHtml, log)) {
    (void)m_charset.setByName("utf-8");
    return;
  }
  if (code_page::isWide(static_cast<unsigned>(m_charset.getCodePage()))) m_charset.clear();
  takeCharset(arrBytes, log);
  (void)strHtml.setString(arrBytes.view());
}

// Afterwards the bytes are in the charset that the page declares for itself, if it does and can be
// believed; m_charset is theirs.
void Mhtml::takeCharset(DataBuffer& arrBytes, LogBase& log) {
  StringBuffer strMeta;
  _ckHtmlHelp::charsetFromMetaTag(arrBytes.view(), strMeta);
  const bool bIsUtf16 = arrBytes.view().starts_with(std::string_view("<\0", 2));
  if (strMeta.equalsIgnoreCase("utf-16") && !bIsUtf16) strMeta.clear();
  _ckCharset objDeclared;
  if (strMeta.isEmpty() || !mail_charset::setByName(objDeclared, strMeta.view())) return;
  const int nFrom = m_charset.getCodePage();
  const int nTo = objDeclared.getCodePage();
  if (nFrom == 0 || nTo == 0 || nFrom == nTo) return;
  log.LogInfo("Charset in HTML does not match charset in HTTP response.");
  log.LogDataLong("ConvertFromCodePage", nFrom);
  log.LogDataLong("ConvertToCodePage", nTo);
  DataBuffer arrConverted;
  if (!EncodingConvert().convertText(static_cast<unsigned>(nFrom), static_cast<unsigned>(nTo),
                                     arrBytes.getData(), arrBytes.getSize(), arrConverted, log)) {
    return;
  }
  arrBytes = std::move(arrConverted);
  m_charset = objDeclared;
}

// The text is UTF-8, whatever the page says of itself.
bool Mhtml::convertHtmlUtf8(std::string_view strGiven, std::string_view strBaseUrl, Form nForm,
                            XString& strMime, LogBase& log) {
  strMime.clear();
  begin(/*bIsLocal=*/!isHttpUrl(strBaseUrl), /*bFromMemory=*/true);
  m_charset.clear();
  (void)context().base_url.setString(strBaseUrl);
  if (beginsWithNoCase(strBaseUrl, "file:")) {
    context().m_strFolder = pathOfUrl(strBaseUrl) + "/";
  }
  if (m_bConfineToFolder) m_files.confineTo(context().m_strFolder);
  StringBuffer strHtml(strGiven);
  StringBuffer strCharset;
  _ckHtmlHelp::charsetFromMetaTag(strGiven, strCharset);
  const bool bNames = strCharset.equalsIgnoreCase("utf-8");
  if (!bNames && (!strCharset.isEmpty() || !byte_search::is7bit(strGiven))) {
    nameAsUtf8(strHtml, log);
  }
  m_nBroughtBytes = 0;
  return buildDocument(strHtml, nForm, strMime, log);
}

bool Mhtml::buildDocument(StringBuffer& strHtml, Form nForm, XString& strMime, LogBase& log) {
  takeBaseHref(strHtml.view(), log);
  m_doneUrls.clear();
  m_cidToUrl.clear();
  m_mapIds.clear();
  m_setMissing.clear();
  m_mapSheets.clear();
  m_frameCounter = 0;
  m_pRoot = makeOwned<MimeMessage2>();
  if (m_pRoot == nullptr) return false;
  const std::string strType = pageType(strHtml.view());
  processDocument(strHtml, nullptr, log);
  m_doneUrls.clear();
  setRootHeaders(strType, nForm, log);
  if (m_pRoot->partCount() == 1) collapse(log);
  writeMessage(strMime, log);
  m_pRoot.reset();
  m_contexts.removeAll();
  m_files.setFree();
  return true;
}

// A base that names a page counts as the folder of it. The site is the base's, too.
void Mhtml::takeBaseHref(std::string_view strHtml, LogBase& log) {
  StringBuffer strHref;
  if (!_ckHtmlHelp::getBaseHref(strHtml, strHref)) return;
  const std::string strBase = absoluteUrl(strHref.view());
  if (beginsWithNoCase(strBase, "http")) {
    m_isLocal = false;
    const bool bFolder = strBase.ends_with('/') || strBase.find('.', strBase.rfind('/')) != kNone;
    setBaseUrls(bFolder ? strBase : strBase + "/", log);
  } else {
    (void)context().base_url.setString(strBase);
  }
}

std::string Mhtml::pageType(std::string_view strHtml) {
  const bool bXml =
      trimmed(strHtml).starts_with("<?xml ") && findNoCase(strHtml, "<!DOCTYPE html") == kNone;
  return bXml ? "text/xml" : "text/html";
}

void Mhtml::setRootHeaders(std::string_view strType, Form nForm, LogBase& log) {
  const std::string strValue =
      "multipart/related; type=\"" + std::string(strType) + "\"; boundary=\"=_" + newUuid() + "\"";
  m_pRoot->setHeaderField("Content-Type", strValue, log);
  m_pRoot->setHeaderField("MIME-Version", "1.0", log);
  if (!m_to.isEmpty()) m_pRoot->setHeaderField("To", m_to.view(), log);
  if (!m_from.isEmpty()) m_pRoot->setHeaderField("From", m_from.view(), log);
  if (m_xUnsent) m_pRoot->setHeaderField("X-Unsent", "1", log);
  if (nForm == Form::kEmail) m_pRoot->setHeaderField("Date", mailDateOfNow(), log);
}

// A page without resources is a plain message.
void Mhtml::collapse(LogBase& log) {
  const OwnedPtr<MimeMessage2> pPart = m_pRoot->parts().remove(0);
  for (const std::string_view strName : {"Content-Type", "Content-Transfer-Encoding"}) {
    m_pRoot->setHeaderField(strName, pPart->header().valueOf(strName), log);
  }
  m_pRoot->takeBody(*pPart);
}

// The name of the location's field is one of our own until here, so that nothing treats it as the
// one that a fetched page may hold. Kept: the replacement does not look where it stands.
void Mhtml::writeMessage(XString& strMime, LogBase& log) {
  DataBuffer arrBytes;
  m_pRoot->getMimeBytes(arrBytes, log);
  StringBuffer strText(arrBytes.view());
  arrBytes.clear();
  (void)strText.replaceAll(kLocationField, "Content-Location");
  (void)strMime.setFromUtf8(strText.view());
}

}  // namespace mail
