#include <algorithm>
#include <chrono>
#include <string>
#include <utility>

#include "archive/Mhtml.h"
#include "archive/UrlText.h"
#include "archive/Uuid.h"
#include "base/AsciiText.h"
#include "base/LogContextExitor.h"
#include "html/CkHtmlHelp.h"
#include "mime/header/AttributeReader.h"
#include "mime/header/ContentDisposition.h"
#include "mime/tree/MimeMessage2.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

std::string lowerCase(std::string_view strText) {
  std::string strResult(strText);
  std::ranges::transform(strResult, strResult.begin(), toLowerAscii);
  return strResult;
}

// The URL that a text of HTML means.
std::string locationOf(std::string_view strUrl) { return replacedAll(strUrl, "&amp;", "&"); }

bool isFrameText(std::string_view strType, std::string_view strExtension) {
  return strType == "text/html" || strExtension.starts_with(".htm") ||
         strExtension.starts_with(".asp") || strExtension.starts_with(".cfm");
}

// How a part is written, by the extension of its URL and by what it is.
std::string_view encodingOf(const DetectedType& objType, std::string_view strExtension) {
  constexpr std::string_view kText = "quoted-printable";
  if (strExtension.starts_with(".js") || strExtension == ".css") return kText;
  if (objType.bIsBinary) return "base64";
  return isFrameText(objType.strType, strExtension) ? kText : "base64";
}

// All that looks like the id of a resource in a text.
std::unordered_set<std::string_view> idsIn(std::string_view strText) {
  std::unordered_set<std::string_view> setIds;
  constexpr std::string_view kStart = "CID-";
  for (std::size_t n = findBytes(strText, kStart); n != kNone;
       n = findBytes(strText, kStart, n + 1)) {
    setIds.insert(strText.substr(n, kStart.size() + kUuidBytes));
  }
  return setIds;
}

}  // namespace

const StringPair& Mhtml::addResource(const std::string& strGiven, ShownAs eShownAs) {
  const bool bQuoted = strGiven.size() > 1 && strGiven.front() == '\'' && strGiven.back() == '\'';
  const std::string strUrl = bQuoted ? strGiven.substr(1, strGiven.size() - 2) : strGiven;
  MhtmlContext& objContext = context();
  // Without regard to case: the system that pages were written on had none.
  const auto [it, bNew] =
      objContext.m_mapIndex.try_emplace(lowerCase(strUrl), objContext.m_arrResources.getSize());
  if (!bNew) {
    StringPair& objPair = *objContext.m_arrResources.at(it->second);
    if (eShownAs == ShownAs::kFrame) objPair.m_eShownAs = eShownAs;
    return objPair;
  }
  // Another document of this page may show the same thing, which has one part.
  std::string& strId = m_mapIds[identityOf(strUrl)];
  if (strId.empty()) strId = "CID-" + newUuid();
  if (!objContext.m_arrResources.append(makeOwned<StringPair>(strUrl, strId, eShownAs))) {
    throw std::bad_alloc();
  }
  return *objContext.m_arrResources.at(it->second);
}

// What a resource adds to the list while the loop runs belongs to a frame's own list, or comes too
// late to be seen.
void Mhtml::addResourceParts(std::string_view strHtml, LogBase& log) {
  const auto setIds = m_useCids ? idsIn(strHtml) : std::unordered_set<std::string_view>();
  const bool bFrameset = findNoCase(strHtml, "<frameset") != kNone;
  const std::size_t nDepth = m_contexts.getSize() - 1;
  const std::size_t nCount = m_contexts.at(nDepth)->m_arrResources.getSize();
  for (std::size_t n = 0; n < nCount; ++n) {
    const StringPair& objPair = *m_contexts.at(nDepth)->m_arrResources.at(n);
    const bool bReferenced = setIds.contains(objPair.m_strContentId.view());
    const auto objStart = std::chrono::steady_clock::now();
    if (isWanted(objPair, bReferenced, bFrameset, log)) addResourcePart(objPair, log);
    const auto objTaken = std::chrono::steady_clock::now() - objStart;
    log.LogDataLong("contentPartTime",
                    std::chrono::duration_cast<std::chrono::milliseconds>(objTaken).count());
  }
}

bool Mhtml::isWanted(const StringPair& objPair, bool bReferenced, bool bFrameset, LogBase& log) {
  const std::string strUrl(objPair.m_strUrl.view());
  if (strUrl.empty() || m_doneUrls.contains(partKeyOf(strUrl))) return false;
  const bool bFrame = m_bJudgesBytes && objPair.m_eShownAs == ShownAs::kFrame;
  if (m_useCids && !bReferenced && !bFrameset && !bFrame && !isPageUrl(strUrl)) {
    log.LogInfo("Skipping content because it is not referenced in the HTML.");
    return false;
  }
  if (std::ranges::any_of(m_excludeUrls, [&](const std::string& strPart) {
        return findBytes(strUrl, strPart) != kNone;
      })) {
    log.LogInfo("Skipping because explicitly excluded.");
    return false;
  }
  return true;
}

void Mhtml::addResourcePart(const StringPair& objPair, LogBase& log) {
  const std::string strUrl(objPair.m_strUrl.view());
  const LogContextExitor objContext(log, "contentPart");
  Fetched objFetched;
  if (!fetchResource(strUrl, objPair.m_eShownAs, objFetched, log)) {
    log.LogError("Failed to download or include external content.");
    return;
  }
  DetectedType objType = detectContentType(objFetched.arrBytes.view(), strUrl);
  if (m_bJudgesBytes && objPair.m_eShownAs == ShownAs::kFrame && !objType.bIsBinary) {
    const std::string_view strBytes = objFetched.arrBytes.view();
    if (trimmed(strBytes).starts_with('<') || looksLikePage(strBytes)) objType = {kPageType};
  }
  if (objType.bIsScript && m_dropScripts) {
    log.LogInfo("Not including because this is a script.");
    return;
  }
  const std::string strExtension = extensionOf(strUrl);
  const bool bFrame = !objType.bIsBinary && isFrameText(objType.strType, strExtension);
  if (bFrame && !takesFrame(objFetched.arrBytes.getSize())) {
    m_setMissing.insert(missingKeyOf(strUrl, ShownAs::kFrame));
    if (m_pObserver != nullptr) m_pObserver->missing(strUrl, "the page shows too much already");
    return;
  }
  m_cidToUrl.erase("cid:" + std::string(objPair.m_strContentId.view()));
  m_doneUrls.insert(partKeyOf(strUrl));
  auto pPart = makeOwned<MimeMessage2>();
  if (pPart == nullptr) throw std::bad_alloc();
  StringBuffer strHtml;
  StringBuffer strCharset;
  if (strExtension == ".css") (void)strCharset.setString("iso-8859-1");
  if (bFrame) {
    const bool bUtf8 = decodeMarks(objFetched.arrBytes, /*nToldPage=*/0, strHtml, log);
    _ckHtmlHelp::charsetFromMetaTag(strHtml.view(), strCharset);
    if (bUtf8) (void)strCharset.setString("utf-8");
  }
  setPartHeaders(*pPart, objPair, objType, strCharset.view(), log);
  MimeMessage2& objPart = *pPart;
  if (!m_pRoot->parts().append(std::move(pPart))) throw std::bad_alloc();
  if (bFrame) return processFrame(strUrl, objFetched.strFolder, strHtml, objPart, log);
  objPart.setBodyInCharset(std::move(objFetched.arrBytes));
  log.LogInfo("Successfully added content (2)");
  log.LogData("content_type", objType.strType);
}

void Mhtml::setPartHeaders(MimeMessage2& objPart, const StringPair& objPair,
                           const DetectedType& objType, std::string_view strCharset, LogBase& log) {
  const std::string_view strUrl = objPair.m_strUrl.view();
  const std::string strName = resourceName(objType.strType, strUrl);
  StringBuffer strValue(objType.strType);
  if (!strCharset.empty()) {
    (void)strValue.append("; charset=");
    appendQuoted(strCharset, strValue);
  }
  if (!strName.empty()) {
    (void)strValue.append("; name=");
    appendQuoted(strName, strValue);
  }
  objPart.setHeaderField("Content-Type", strValue.view(), log);
  objPart.setEncoding(encodingOf(objType, extensionOf(strUrl)), log);
  if (m_useInline || m_useFilename) {
    ContentDisposition objDisposition;
    (void)objDisposition.m_type.setString("inline");
    if (m_useFilename) (void)objDisposition.m_fileName.setString(strName);
    strValue.weakClear();
    objDisposition.emit(strValue);
    objPart.setHeaderField("Content-Disposition", strValue.view(), log);
  }
  if (m_useCids) {
    const std::string strId(objPair.m_strContentId.view());
    objPart.setHeaderField("Content-ID", "<" + strId + ">", log);
  } else {
    objPart.setHeaderField(kLocationField, ansiToUtf8(locationOf(strUrl)), log);
  }
}

void Mhtml::processFrame(const std::string& strUrl, const std::string& strFolder,
                         StringBuffer& strHtml, MimeMessage2& objPart, LogBase& log) {
  const bool bOuterDrops = m_dropScripts;
  MhtmlContext& objOuter = context();
  objOuter.m_bSavedIsLocal = m_isLocal;
  objOuter.m_bSavedFromMemory = m_fromMemory;
  auto pFrame = makeOwned<MhtmlContext>();
  if (pFrame == nullptr || !m_contexts.append(std::move(pFrame))) throw std::bad_alloc();
  m_isLocal = !beginsWithNoCase(strUrl, "http");
  m_fromMemory = false;
  context().m_bFromNetwork = !m_isLocal;
  if (m_isLocal) {
    context().m_strFolder = strFolder;
    log.LogData("SetDir6", ansiToUtf8(strFolder));
  }
  // A frame by a relative name is in its folder already.
  if (!m_isLocal || hasScheme(strUrl)) setBaseUrls(strUrl, log);
  ++m_frameCounter;
  processDocument(strHtml, &objPart, log);
  (void)m_contexts.deleteAt(m_contexts.getSize() - 1);
  m_isLocal = context().m_bSavedIsLocal;
  m_fromMemory = context().m_bSavedFromMemory;
  m_dropScripts = bOuterDrops;
}

bool Mhtml::fetchResource(const std::string& strUrl, ShownAs eShownAs, Fetched& objFetched,
                          LogBase& log) {
  const std::string strKey = missingKeyOf(strUrl, eShownAs);
  if (m_setMissing.contains(strKey)) return false;
  const bool bHttp = isHttpUrl(strUrl);
  std::string strReason;
  bool bFetched = bHttp ? m_http.httpGetResource(strUrl, objFetched.arrBytes, m_connPool, log)
                        : loadLocal(strUrl, objFetched, strReason, log);
  if (!bFetched && bHttp) strReason = m_http.failure();
  if (bFetched && m_bJudgesBytes) {
    strReason = whyNot(eShownAs, objFetched.arrBytes.view(), bHttp ? m_http.contentType() : "");
    bFetched = strReason.empty();
  }
  if (!bFetched) {
    m_setMissing.insert(strKey);
    if (m_pObserver != nullptr) m_pObserver->missing(strUrl, strReason);
  } else if (m_pObserver != nullptr) {
    m_pObserver->fetched(strUrl, objFetched.arrBytes.getSize());
  }
  return bFetched;
}

bool Mhtml::loadLocal(const std::string& strUrl, Fetched& objFetched, std::string& strReason,
                      LogBase& log) {
  if (context().m_bFromNetwork) {
    strReason = "a page from the network may not show files";
    return false;
  }
  const auto strPath = findLocal(pathOfUrl(strUrl));
  if (!strPath) {
    strReason = "there is no such file";
    return false;
  }
  log.LogData("loadingFile1", ansiToUtf8(*strPath));
  const bool bLoaded = m_files.load(*strPath, objFetched.arrBytes);
  if (!bLoaded) strReason = m_files.failure();
  objFetched.strFolder = LocalFiles::folderOf(*strPath);
  return bLoaded;
}

std::optional<std::string> Mhtml::findLocal(const std::string& strName) {
  std::vector<std::string> arrPaths = spellingsOf(strName, m_charset.getCodePage());
  for (std::string& strPath : arrPaths) strPath = joinPath(context().m_strFolder, strPath);
  return m_files.find(arrPaths);
}

bool Mhtml::takesFrame(std::size_t nBytes) {
  return m_frameCounter < kMaxFrames && spendBrought(nBytes);
}

bool Mhtml::spendBrought(std::size_t nBytes) {
  if (nBytes > kMaxBroughtBytes - m_nBroughtBytes) return false;
  m_nBroughtBytes += nBytes;
  return true;
}

std::string Mhtml::partKeyOf(const std::string& strUrl) {
  return m_useCids ? identityOf(strUrl) : locationOf(strUrl) + '\n' + identityOf(strUrl);
}

std::string Mhtml::identityOf(const std::string& strUrl) {
  if (isHttpUrl(strUrl)) return locationOf(strUrl);
  return "file:" + withoutDotNames(joinPath(context().m_strFolder, pathOfUrl(strUrl)));
}

std::string Mhtml::missingKeyOf(const std::string& strUrl, ShownAs eShownAs) {
  const bool bAsAny = eShownAs == ShownAs::kFrame || eShownAs == ShownAs::kScript;
  return (bAsAny ? "" : eShownAs == ShownAs::kSheet ? "sheet " : "picture ") + identityOf(strUrl);
}

}  // namespace mail
