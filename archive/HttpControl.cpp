#include "archive/HttpControl.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <curl/curl.h>

#include "archive/GzipBody.h"
#include "archive/UrlText.h"
#include "base/AsciiText.h"

namespace mail {

// What the callbacks of one request fill.
struct HttpExchange {
  DataBuffer arrBytes;
  std::uint64_t nMaxBytes = 0;
  std::string strFailure;           // why no more was taken
  std::unique_ptr<GzipBody> pGzip;  // of an answer that is packed
  long nStatus = 0;
  std::string strFinalUrl;
  long nRedirections = 0;
};

namespace {

struct ListDeleter {
  void operator()(curl_slist* pList) const { curl_slist_free_all(pList); }
};
using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

constexpr std::array kHeaders = {
    "Accept: text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8",
    "Accept-Encoding: gzip", "Connection: keep-alive", "Accept-Language: en-us,en;q=0.5"};

constexpr const char* kNoUrl = "this is no URL of a host";
constexpr const char* kTooLarge = "the answer is too large";

HeaderList headerList() {
  HeaderList pList;
  for (const char* pszHeader : kHeaders) {
    curl_slist* const pLonger = curl_slist_append(pList.get(), pszHeader);
    if (pLonger == nullptr) return pList;
    (void)pList.release();
    pList.reset(pLonger);
  }
  return pList;
}

size_t onWrite(char* pData, size_t nSize, size_t nCount, void* pUser) {
  auto& objExchange = *static_cast<HttpExchange*>(pUser);
  const size_t nBytes = nSize * nCount;
  const auto fail = [&](const char* pszReason) {
    objExchange.strFailure = pszReason;
    return std::size_t{0};
  };
  if (objExchange.pGzip) {
    switch (objExchange.pGzip->add({pData, nBytes}, objExchange.arrBytes, objExchange.nMaxBytes)) {
      case GzipBody::Result::kGood:
        return nBytes;
      case GzipBody::Result::kBroken:
        return fail("the packed answer is damaged");
      case GzipBody::Result::kTooLarge:
        return fail(kTooLarge);
      case GzipBody::Result::kNoMemory:
        return 0;
    }
  }
  if (nBytes > objExchange.nMaxBytes - objExchange.arrBytes.getSize()) return fail(kTooLarge);
  return objExchange.arrBytes.append(pData, nBytes) ? nBytes : 0;
}

void takeContentEncoding(std::string_view strValue, HttpExchange& objExchange) {
  const bool bGzip = equalsNoCase(strValue, "gzip") || equalsNoCase(strValue, "x-gzip");
  if (bGzip && !objExchange.pGzip) {
    objExchange.pGzip = std::make_unique<GzipBody>();
  } else if (!strValue.empty() && !equalsNoCase(strValue, "identity")) {
    objExchange.strFailure = "the answer is packed in a way that was not asked for: ";
    objExchange.strFailure += strValue;
  }
}

size_t onHeader(char* pData, size_t nSize, size_t nCount, void* pUser) {
  auto& objExchange = *static_cast<HttpExchange*>(pUser);
  const std::string_view strLine(pData, nSize * nCount);
  if (strLine.starts_with("HTTP/")) {  // a new answer begins
    objExchange.arrBytes.weakClear();
    objExchange.pGzip.reset();
    objExchange.strFailure.clear();
  }
  constexpr std::string_view kEncoding = "content-encoding:";
  if (beginsWithNoCase(strLine, kEncoding)) {
    takeContentEncoding(trimmed(strLine.substr(kEncoding.size())), objExchange);
  }
  return strLine.size();
}

std::string charsetOf(std::string_view strContentType) {
  constexpr std::string_view kCharset = "charset=";
  const std::size_t nFound = findNoCase(strContentType, kCharset);
  if (nFound == std::string_view::npos) return {};
  std::string_view strValue = trimmed(strContentType.substr(nFound + kCharset.size()));
  if (strValue.starts_with('"') || strValue.starts_with('\'')) {
    const char chQuote = strValue.front();
    strValue.remove_prefix(1);
    return std::string(strValue.substr(0, strValue.find(chQuote)));
  }
  return std::string(trimmed(strValue.substr(0, strValue.find(';'))));
}

// The first "/../" becomes "/" until there is none: a ".." above the root of a site means nothing.
std::string withoutParents(std::string_view strPath) {
  std::string strResult;
  strResult.reserve(strPath.size());
  for (const char ch : strPath) {
    strResult += ch;
    if (strResult.ends_with("/../")) strResult.resize(strResult.size() - 3);
  }
  return strResult;
}

// "host:port" as the URL has them.
std::string hostOf(const CrackedUrl& objUrl) { return objUrl.strHost + ":" + objUrl.strPort; }

std::string reasonOf(CURLcode nCode, void* pHandle) {
  const char* pszUrl = nullptr;
  curl_easy_getinfo(pHandle, CURLINFO_REDIRECT_URL, &pszUrl);
  switch (nCode) {
    case CURLE_URL_MALFORMAT:
      return kNoUrl;
    case CURLE_UNSUPPORTED_PROTOCOL:
      return pszUrl == nullptr
                 ? std::string(kNoUrl)
                 : "it leads to what is neither http nor https: " + std::string(pszUrl);
    case CURLE_OPERATION_TIMEDOUT:
      return "the host did not answer in time";
    default:
      return curl_easy_strerror(nCode);
  }
}

bool isGood(long nStatus) { return nStatus >= 200 && nStatus <= 299; }

}  // namespace

bool HttpControl::httpGetResource(std::string_view strUrl, DataBuffer& arrBytes,
                                  HttpConnPool& objPool, LogBase& log) {
  log.LogData("DownloadingUrl", strUrl);
  std::string strRequested(strUrl);
  if (auto objUrl = crackUrl(strUrl)) {
    objUrl->strPath = withoutParents(objUrl->strPath);
    strRequested = objUrl->joined();
  }
  strRequested = replacedAll(replacedAll(strRequested, " ", "%20"), "&amp;", "&");
  HttpExchange objExchange;
  if (!get(strRequested, Login::kNone, objExchange, objPool, log)) return false;
  if (!isGood(objExchange.nStatus)) return failStatus(objExchange.nStatus, log);
  arrBytes = std::move(objExchange.arrBytes);
  return true;
}

bool HttpControl::httpGetDocument(std::string_view strUrl, Document& objDocument,
                                  HttpConnPool& objPool, LogBase& log) {
  log.LogData("DownloadingUrl", strUrl);
  HttpExchange objExchange;
  const std::string strRequested(strUrl);
  const Login nFirst = m_strLogin.empty() ? Login::kNone : Login::kPreset;
  if (!get(strRequested, nFirst, objExchange, objPool, log)) return false;
  if (objExchange.nStatus == 401 && !m_strLogin.empty()) {
    log.LogInfo(
        "Retrying after 401 response because application indicates authentication may be needed.");
    log.LogInfo(
        "Must retry because some HTTP servers won't authenticate on 1st try when the Authorization "
        "header is pre-set.");
    log.LogData("authMethod", "any");
    log.LogData("loginName", std::string_view(m_strLogin).substr(0, m_strLogin.find(':')));
    objExchange = {};
    if (!get(strRequested, Login::kNegotiated, objExchange, objPool, log)) return false;
  }
  objDocument.strCharset = charsetOf(m_strContentType);
  if (!isGood(objExchange.nStatus)) return failStatus(objExchange.nStatus, log);
  objDocument.strFinalUrl = objExchange.nRedirections > 0 ? objExchange.strFinalUrl : "";
  objDocument.arrBytes = std::move(objExchange.arrBytes);
  const std::string_view strBody = objDocument.arrBytes.view();
  if (strBody.starts_with('\0')) {
    objDocument.arrBytes.removeHead(std::min(strBody.find('<'), strBody.size()));
  }
  return true;
}

bool HttpControl::isAllowed(const std::string& strUrl, LogBase& log) {
  if (strUrl.empty() || equalsNoCase(strUrl, "about:blank")) {
    log.LogInfo("Skipping about:blank");
    return fail("there is nothing at this URL", log);
  }
  if (strUrl.size() > kMaxUrlBytes) {
    log.LogDataLong("maxUrlLen", kMaxUrlBytes);
    return fail("URL is longer than the maximum allowed length.", log);
  }
  if (m_bNoNetwork) return fail("nothing is fetched from the network", log);
  const auto objUrl = crackUrl(strUrl);
  if (!objUrl) return fail(kNoUrl, log);
  const std::string strHost = hostOf(*objUrl);
  if (m_setSilentHosts.contains(strHost)) return fail("the host did not answer before", log);
  const bool bTooMany = m_setSilentHosts.size() >= kMaxSilentHosts;
  if (bTooMany && !m_setGoodHosts.contains(strHost)) {
    return fail("too many other hosts did not answer", log);
  }
  return true;
}

bool HttpControl::get(const std::string& strUrl, Login nLogin, HttpExchange& objExchange,
                      HttpConnPool& objPool, LogBase& log) {
  m_strFailure.clear();
  m_strContentType.clear();
  if (!isAllowed(strUrl, log)) return false;
  void* const pHandle = objPool.getHttpConnection();
  if (pHandle == nullptr) return fail("Failed to get HttpConnection object.", log);
  setOptions(pHandle, strUrl, nLogin);
  objExchange.nMaxBytes = m_nMaxSizeMb * kMebibyte;
  curl_easy_setopt(pHandle, CURLOPT_WRITEDATA, &objExchange);
  curl_easy_setopt(pHandle, CURLOPT_HEADERDATA, &objExchange);
  const HeaderList pHeaders = headerList();
  curl_easy_setopt(pHandle, CURLOPT_HTTPHEADER, pHeaders.get());
  const CURLcode nCode = curl_easy_perform(pHandle);
  if (nCode == CURLE_OPERATION_TIMEDOUT) m_setSilentHosts.insert(hostOf(*crackUrl(strUrl)));
  if (!objExchange.strFailure.empty()) return fail(objExchange.strFailure, log);
  if (nCode != CURLE_OK) return fail(reasonOf(nCode, pHandle), log);
  m_setGoodHosts.insert(hostOf(*crackUrl(strUrl)));
  if (objExchange.pGzip) {
    log.LogInfo("UnGzipping response data");
    if (!objExchange.pGzip->isWhole()) return fail("the packed answer is cut off", log);
  }
  curl_easy_getinfo(pHandle, CURLINFO_RESPONSE_CODE, &objExchange.nStatus);
  curl_easy_getinfo(pHandle, CURLINFO_REDIRECT_COUNT, &objExchange.nRedirections);
  const char* pszText = nullptr;
  curl_easy_getinfo(pHandle, CURLINFO_CONTENT_TYPE, &pszText);
  if (pszText != nullptr) m_strContentType = pszText;
  curl_easy_getinfo(pHandle, CURLINFO_EFFECTIVE_URL, &pszText);
  if (pszText != nullptr) objExchange.strFinalUrl = pszText;
  log.LogDataLong("HttpResponseCode", objExchange.nStatus);
  return true;
}

void HttpControl::setOptions(void* pHandle, const std::string& strUrl, Login nLogin) const {
  const long nSeconds = std::max(1L, (m_nReadTimeoutMs + 999) / 1000);
  curl_easy_setopt(pHandle, CURLOPT_URL, strUrl.c_str());
  curl_easy_setopt(pHandle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(pHandle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(pHandle, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(pHandle, CURLOPT_MAXREDIRS, kMaxRedirections);
  curl_easy_setopt(pHandle, CURLOPT_PROXY, "");  // no environment variable decides the way
  curl_easy_setopt(pHandle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(pHandle, CURLOPT_CONNECTTIMEOUT, nSeconds);
  curl_easy_setopt(pHandle, CURLOPT_LOW_SPEED_LIMIT, 1L);  // byte a second
  curl_easy_setopt(pHandle, CURLOPT_LOW_SPEED_TIME, nSeconds);
  curl_easy_setopt(pHandle, CURLOPT_TIMEOUT, nSeconds * kMaxTimeouts);
  curl_easy_setopt(pHandle, CURLOPT_USERAGENT, m_strUserAgent.c_str());
  curl_easy_setopt(pHandle, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(pHandle, CURLOPT_SSL_VERIFYHOST, 2L);
  if (!m_strCaFile.empty()) curl_easy_setopt(pHandle, CURLOPT_CAINFO, m_strCaFile.c_str());
  curl_easy_setopt(pHandle, CURLOPT_WRITEFUNCTION, &onWrite);
  curl_easy_setopt(pHandle, CURLOPT_HEADERFUNCTION, &onHeader);
  setLogin(pHandle, nLogin);
}

// Always set in full: the handle still has what the resource before was fetched with.
void HttpControl::setLogin(void* pHandle, Login nLogin) const {
  const unsigned long nWays = nLogin == Login::kNegotiated ? CURLAUTH_ANY : CURLAUTH_BASIC;
  curl_easy_setopt(pHandle, CURLOPT_HTTPAUTH, nWays);
  if (nLogin == Login::kNone) {
    curl_easy_setopt(pHandle, CURLOPT_USERNAME, nullptr);
    curl_easy_setopt(pHandle, CURLOPT_PASSWORD, nullptr);
    return;
  }
  const std::size_t nColon = std::min(m_strLogin.find(':'), m_strLogin.size());
  curl_easy_setopt(pHandle, CURLOPT_USERNAME, m_strLogin.substr(0, nColon).c_str());
  const std::string strPassword = nColon < m_strLogin.size() ? m_strLogin.substr(nColon + 1) : "";
  curl_easy_setopt(pHandle, CURLOPT_PASSWORD, strPassword.c_str());
}

bool HttpControl::fail(std::string strReason, LogBase& log) {
  m_strFailure = std::move(strReason);
  log.LogError(m_strFailure);
  return false;
}

bool HttpControl::failStatus(long nStatus, LogBase& log) {
  return fail("the server answered " + std::to_string(nStatus), log);
}

}  // namespace mail
