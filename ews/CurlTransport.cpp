#include "ews/CurlTransport.h"

#include <algorithm>
#include <exception>
#include <map>
#include <optional>
#include <utility>

#include <curl/curl.h>
#include <fmt/format.h>

#include "ews/Handshake.h"
#include "ews/KeptConnections.h"
#include "ews/NetworkFailure.h"
#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "ews/ServicePointManager.h"
#include "ews/Settings.h"
#include "ews/Url.h"
#include "platform/Paths.h"

namespace ews {
namespace {

constexpr long kMaxConnectMs = 30000;           // for the connection alone, within the time-out
constexpr long kMaxIdleSeconds = 30;            // of a kept connection, to be used again
constexpr long kUploadBufferBytes = 512 << 10;  // fewer, larger reads from the body

struct EasyDeleter {
  void operator()(CURL* p) const { curl_easy_cleanup(p); }
};

class HeaderList {
 public:
  HeaderList() = default;
  ~HeaderList() { curl_slist_free_all(m_pList); }
  HeaderList(const HeaderList&) = delete;
  HeaderList& operator=(const HeaderList&) = delete;
  void Add(const std::string& strLine) {
    if (curl_slist* pList = curl_slist_append(m_pList, strLine.c_str())) m_pList = pList;
  }
  curl_slist* Get() const { return m_pList; }

 private:
  curl_slist* m_pList = nullptr;
};

// What the callbacks work on. An exception must not cross the C library: it is kept here.
struct Transfer {
  RequestBody* pBody = nullptr;
  std::uint64_t nBodyRead = 0;
  bool bSendOnce = false;
  bool bLost = false;     // the whole body was out when its connection turned out to be dead
  bool bRefused = false;  // a 401 came behind what was sent: it was not carried out
  HttpResponse objResponse;
  bool bTooLarge = false;
  std::exception_ptr pFailure;

  bool bWatched = false;
  CurlTransport::Silence objSilence;
  std::string strSilent;   // what is told of a silence; empty when it was
  curl_off_t nMoved = -1;  // bytes, both ways
  std::chrono::steady_clock::time_point nLastMove;
  std::optional<std::chrono::steady_clock::time_point> nStopSeen;
  bool bStalled = false;
  bool bStopped = false;

  // True when the request may have reached the server whole.
  bool BodyIsOut() const {
    return bLost || (!bRefused && (!pBody || nBodyRead >= pBody->Length()));
  }
};

// A transfer with what libcurl knows of it when it is over.
struct Outcome {
  Transfer objTransfer;
  TransferEnd objEnd;
  bool bKeptConnection = false;  // it went over one that had served before
};

// Gives what the step of a callback returns, or nFailed where it throws.
template <typename Step>
size_t Kept(Transfer& objTransfer, size_t nFailed, Step fnStep) {
  try {
    return fnStep();
  } catch (...) {
    objTransfer.pFailure = std::current_exception();
    return nFailed;
  }
}

size_t OnRead(char* pBuffer, size_t nSize, size_t nCount, void* pUser) {
  auto& objTransfer = *static_cast<Transfer*>(pUser);
  return Kept(objTransfer, CURL_READFUNC_ABORT, [&] {
    const size_t n = objTransfer.pBody->Read({pBuffer, nSize * nCount});
    objTransfer.nBodyRead += n;
    objTransfer.bRefused = false;
    return n;
  });
}

// Called when a kept connection turns out to be dead and the request starts over on a new one. The
// server may have carried out what it was sent whole, so that such a request is not repeated if it
// makes something. One that ended while idle is noticed before the body is read, and no failure.
// Called, too, when a login handshake begins anew on a connection: then a 401 came.
int OnSeek(void* pUser, curl_off_t nOffset, int nOrigin) {
  if (nOffset != 0 || nOrigin != SEEK_SET) return CURL_SEEKFUNC_CANTSEEK;
  auto& objTransfer = *static_cast<Transfer*>(pUser);
  if (objTransfer.bSendOnce && objTransfer.BodyIsOut()) {
    objTransfer.bLost = true;
    return CURL_SEEKFUNC_CANTSEEK;
  }
  objTransfer.nBodyRead = 0;
  objTransfer.pBody->Rewind();
  return CURL_SEEKFUNC_OK;
}

size_t OnWrite(char* pData, size_t nSize, size_t nCount, void* pUser) {
  auto& objTransfer = *static_cast<Transfer*>(pUser);
  const size_t n = nSize * nCount;
  std::string& strBody = objTransfer.objResponse.strBody;
  if (n > kMaxResponseBytes - strBody.size()) {
    objTransfer.bTooLarge = true;
    return 0;
  }
  return Kept(objTransfer, 0, [&] {
    strBody.append(pData, n);
    return n;
  });
}

// "401" of "HTTP/1.1 401 Unauthorized".
std::string_view StatusOf(std::string_view strLine) {
  const size_t nBlank = strLine.find(' ');
  return nBlank == std::string_view::npos ? std::string_view() : strLine.substr(nBlank + 1, 3);
}

void TakeHeaderLine(std::string_view strLine, Transfer& objTransfer) {
  while (!strLine.empty() && (strLine.back() == '\r' || strLine.back() == '\n')) {
    strLine.remove_suffix(1);
  }
  const size_t nColon = strLine.find(':');
  if (strLine.starts_with("HTTP/")) {
    objTransfer.objResponse.arrHeaders.clear();  // a new answer begins
    objTransfer.bRefused = StatusOf(strLine) == "401";
  } else if (nColon != std::string_view::npos) {
    std::string_view strValue = strLine.substr(nColon + 1);
    while (!strValue.empty() && strValue.front() == ' ') strValue.remove_prefix(1);
    objTransfer.objResponse.arrHeaders.emplace_back(strLine.substr(0, nColon), strValue);
  }
}

size_t OnHeader(char* pData, size_t nSize, size_t nCount, void* pUser) {
  auto& objTransfer = *static_cast<Transfer*>(pUser);
  const size_t n = nSize * nCount;
  return Kept(objTransfer, 0, [&] {
    TakeHeaderLine({pData, n}, objTransfer);
    return n;
  });
}

// Empty where the end of the request comes first.
std::string SilenceLine(const HttpRequest& objRequest, const CurlTransport::Silence& objSilence) {
  const auto nUpTo = std::min(objSilence.nLost, objRequest.nTimeout);
  if (nUpTo <= objSilence.nTold) return {};
  return fmt::format("{} has been silent for {}; waiting up to {}",
                     HostForMessage(objRequest.strUrl), InSeconds(objSilence.nTold),
                     InSeconds(nUpTo));
}

void TellSilence(Transfer& objTransfer) {
  const std::string strLine = std::exchange(objTransfer.strSilent, {});
  if (const auto& fnTell = Settings().fnTellWait; fnTell && !strLine.empty()) fnTell(strLine);
}

// What moves bytes may come to its end, and what the server works on gets some time for it.
bool IsToStop(Transfer& objTransfer, std::chrono::steady_clock::time_point nNow) {
  const auto& fnStopAsked = Settings().fnStopAsked;
  if (!fnStopAsked || !fnStopAsked()) return false;
  if (!objTransfer.nStopSeen) objTransfer.nStopSeen = nNow;
  return nNow - std::max(*objTransfer.nStopSeen, objTransfer.nLastMove) >=
         objTransfer.objSilence.nStop;
}

// Called about once a second, and more often while bytes move. Not 0 ends the transfer.
int OnProgress(void* pUser, curl_off_t, curl_off_t nReceived, curl_off_t, curl_off_t nSent) {
  auto& objTransfer = *static_cast<Transfer*>(pUser);
  const auto nNow = std::chrono::steady_clock::now();
  if (const curl_off_t nMoved = nReceived + nSent; nMoved != objTransfer.nMoved) {
    objTransfer.nMoved = nMoved;
    objTransfer.nLastMove = nNow;
  }
  return static_cast<int>(Kept(objTransfer, 1, [&]() -> size_t {
    const auto nSilent = nNow - objTransfer.nLastMove;
    if (nSilent >= objTransfer.objSilence.nTold) TellSilence(objTransfer);
    objTransfer.bStopped = IsToStop(objTransfer, nNow);
    objTransfer.bStalled = nSilent >= objTransfer.objSilence.nLost;
    return objTransfer.bStopped || objTransfer.bStalled ? 1 : 0;
  }));
}

bool HasControls(std::string_view str) {
  return std::any_of(str.begin(), str.end(),
                     [](char ch) { return static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F; });
}

void AddHeader(HeaderList& objList, const std::string& strName, const std::string& strValue) {
  if (HasControls(strName) || HasControls(strValue)) {
    throw ServiceException("The request failed. The header '" + strName +
                           "' holds a character that may not stand there.");
  }
  objList.Add(strName + (strValue.empty() ? ";" : ": " + strValue));
}

void AddHeaders(HeaderList& objList, const HttpRequest& objRequest, bool bCredentials) {
  for (const auto& [strName, strValue] : objRequest.arrHeaders) {
    AddHeader(objList, strName, strValue);
  }
  if (bCredentials && !objRequest.objCredentials.IsEmpty()) {
    AddHeader(objList, "Authorization", objRequest.objCredentials.HeaderValue());
  }
  objList.Add("Expect:");  // no wait for "100 Continue"
}

// Not verifying: TLS 1.0 and up at OpenSSL's lowest security level, any certificate. Verifying:
// TLS 1.2 and up.
void SetTls(CURL* pCurl) {
  const bool bAcceptAll = ServicePointManager::AcceptsEveryCertificate();
  curl_easy_setopt(pCurl, CURLOPT_SSL_VERIFYPEER, bAcceptAll ? 0L : 1L);
  curl_easy_setopt(pCurl, CURLOPT_SSL_VERIFYHOST, bAcceptAll ? 0L : 2L);
  if (bAcceptAll) {
    curl_easy_setopt(pCurl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_0));
    curl_easy_setopt(pCurl, CURLOPT_SSL_CIPHER_LIST, "ALL:!aNULL:!eNULL@SECLEVEL=0");
    return;
  }
  curl_easy_setopt(pCurl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  const std::string strCaFile = platform::ResolvePath(Settings().strCaFile);
  if (!strCaFile.empty()) curl_easy_setopt(pCurl, CURLOPT_CAINFO, strCaFile.c_str());
}

// No environment variable decides the way. What is for this machine stays on it: it may carry
// credentials unencrypted.
void SetProxy(CURL* pCurl, const HttpRequest& objRequest) {
  const auto objProxy = ParseUrl(Settings().strProxy.ToUtf8());
  const auto objUrl = ParseUrl(objRequest.strUrl);
  if (!objProxy || !objUrl || objUrl->IsLoopback()) {
    curl_easy_setopt(pCurl, CURLOPT_PROXY, "");
    return;
  }
  const std::string strProxy = objProxy->SchemeAndHost() + ":" + objProxy->strPort;
  curl_easy_setopt(pCurl, CURLOPT_PROXY, strProxy.c_str());
  curl_easy_setopt(pCurl, CURLOPT_NOPROXY, "");
  curl_easy_setopt(pCurl, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  const bool bAcceptAll = ServicePointManager::AcceptsEveryCertificate();
  curl_easy_setopt(pCurl, CURLOPT_PROXY_SSL_VERIFYPEER, bAcceptAll ? 0L : 1L);
  curl_easy_setopt(pCurl, CURLOPT_PROXY_SSL_VERIFYHOST, bAcceptAll ? 0L : 2L);
  const std::string strCaFile = platform::ResolvePath(Settings().strCaFile);
  if (!strCaFile.empty()) curl_easy_setopt(pCurl, CURLOPT_PROXY_CAINFO, strCaFile.c_str());
}

void SetBody(CURL* pCurl, const HttpRequest& objRequest, Transfer& objTransfer) {
  if (!objRequest.pBody) {
    curl_easy_setopt(pCurl, CURLOPT_HTTPGET, 1L);
    return;
  }
  curl_easy_setopt(pCurl, CURLOPT_POST, 1L);
  curl_easy_setopt(pCurl, CURLOPT_POSTFIELDSIZE_LARGE,
                   static_cast<curl_off_t>(objRequest.pBody->Length()));
  curl_easy_setopt(pCurl, CURLOPT_READFUNCTION, &OnRead);
  curl_easy_setopt(pCurl, CURLOPT_READDATA, &objTransfer);
  curl_easy_setopt(pCurl, CURLOPT_SEEKFUNCTION, &OnSeek);
  curl_easy_setopt(pCurl, CURLOPT_SEEKDATA, &objTransfer);
}

void WatchSilence(CURL* pCurl, Transfer& objTransfer) {
  if (!objTransfer.bWatched) return;
  curl_easy_setopt(pCurl, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(pCurl, CURLOPT_XFERINFOFUNCTION, &OnProgress);
  curl_easy_setopt(pCurl, CURLOPT_XFERINFODATA, &objTransfer);
}

void SetOptions(CURL* pCurl, const HttpRequest& objRequest, Transfer& objTransfer) {
  const long nTimeout = static_cast<long>(std::max<long long>(objRequest.nTimeout.count(), 1));
  curl_easy_setopt(pCurl, CURLOPT_URL, objRequest.strUrl.c_str());
  curl_easy_setopt(pCurl, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(pCurl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  curl_easy_setopt(pCurl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(pCurl, CURLOPT_TIMEOUT_MS, nTimeout);
  curl_easy_setopt(pCurl, CURLOPT_QUICK_EXIT, 1L);  // nor longer for a name that nobody resolves
  curl_easy_setopt(pCurl, CURLOPT_CONNECTTIMEOUT_MS, std::min(nTimeout, kMaxConnectMs));
  curl_easy_setopt(pCurl, CURLOPT_TCP_KEEPALIVE, 1L);
  curl_easy_setopt(pCurl, CURLOPT_MAXAGE_CONN, kMaxIdleSeconds);
  curl_easy_setopt(pCurl, CURLOPT_FRESH_CONNECT, objRequest.bNewConnection ? 1L : 0L);
  curl_easy_setopt(pCurl, CURLOPT_UPLOAD_BUFFERSIZE, kUploadBufferBytes);
  curl_easy_setopt(pCurl, CURLOPT_ACCEPT_ENCODING, "gzip,deflate");
  curl_easy_setopt(pCurl, CURLOPT_WRITEFUNCTION, &OnWrite);
  curl_easy_setopt(pCurl, CURLOPT_WRITEDATA, &objTransfer);
  curl_easy_setopt(pCurl, CURLOPT_HEADERFUNCTION, &OnHeader);
  curl_easy_setopt(pCurl, CURLOPT_HEADERDATA, &objTransfer);
  SetTls(pCurl);
  SetProxy(pCurl, objRequest);
  WatchSilence(pCurl, objTransfer);
  SetBody(pCurl, objRequest, objTransfer);
}

template <typename Value>
Value InfoOf(CURL* pCurl, CURLINFO eInfo) {
  Value nValue = 0;
  curl_easy_getinfo(pCurl, eInfo, &nValue);
  return nValue;
}

// Performs the request that the handle is set for, and notes what came of it besides the answer.
void Perform(CURL* pCurl, Outcome& objOutcome) {
  Transfer& objTransfer = objOutcome.objTransfer;
  TransferEnd& objEnd = objOutcome.objEnd;
  objEnd.eCode = curl_easy_perform(pCurl);
  const auto nStatus = static_cast<int>(InfoOf<long>(pCurl, CURLINFO_RESPONSE_CODE));
  objTransfer.objResponse.nStatus = nStatus;
  // The time is 0 for a kept connection, too, which took none to make.
  objEnd.bConnected = InfoOf<curl_off_t>(pCurl, CURLINFO_CONNECT_TIME_T) > 0 ||
                      InfoOf<curl_off_t>(pCurl, CURLINFO_SIZE_UPLOAD_T) > 0;
  // A body that was read went out over a connection, be it one before that which was refused last.
  const bool bSent = objTransfer.pBody != nullptr || objEnd.bConnected;
  objEnd.bBodyBegun = objTransfer.nBodyRead > 0;
  objEnd.bBodyOut = bSent && objTransfer.BodyIsOut();
  objTransfer.objResponse.bBehindBody = objEnd.bBodyOut;
  objEnd.bAnswered = nStatus != 0;
  objEnd.bTooLarge = objTransfer.bTooLarge;
  objEnd.nProxyStatus = static_cast<int>(InfoOf<long>(pCurl, CURLINFO_HTTP_CONNECTCODE));
  if (objTransfer.bStalled) objEnd.nStalled = objTransfer.objSilence.nLost;
  objEnd.bStopped = objTransfer.bStopped;
  objEnd.nConnectLimit = std::chrono::milliseconds(kMaxConnectMs);
  objOutcome.bKeptConnection = InfoOf<long>(pCurl, CURLINFO_NUM_CONNECTS) == 0;
}

bool IsNobodys400(const Outcome& objOutcome) {
  const HttpResponse& objResponse = objOutcome.objTransfer.objResponse;
  return objOutcome.objEnd.eCode == CURLE_OK && objResponse.nStatus == 400 &&
         objResponse.strBody.find("Envelope") == std::string::npos;
}

bool MayBeTaken(const Outcome& objOutcome) {
  return objOutcome.objTransfer.bSendOnce && objOutcome.objEnd.bBodyOut;
}

// True where a kept connection may be to blame and the request was not carried out: it gave no
// answer to it, or one that knows of no request.
bool IsForAnotherConnection(const Outcome& objOutcome) {
  if (!objOutcome.bKeptConnection) return false;
  const TransferEnd& objEnd = objOutcome.objEnd;
  if (objEnd.eCode == CURLE_OK) return IsNobodys400(objOutcome) && !MayBeTaken(objOutcome);
  const bool bLost = objEnd.eCode == CURLE_SEND_ERROR || objEnd.eCode == CURLE_RECV_ERROR ||
                     objEnd.eCode == CURLE_GOT_NOTHING;
  return bLost && !objEnd.bAnswered && !MayBeTaken(objOutcome);
}

}  // namespace

struct CurlTransport::Impl {
  KeptConnections objConnections;  // outlives the handle
  std::unique_ptr<CURL, EasyDeleter> pCurl;
  std::map<std::string, Handshake> mapHandshakes;  // by origin and user, where Basic was refused
  Silence objSilence;
  bool bConnectAnew = false;  // the last request met a connection that knows of none

  Outcome Try(const HttpRequest& objRequest, Handshake eHandshake, const Silence& objLimits);
};

CurlTransport::CurlTransport(const Silence& objSilence) : m_pImpl(std::make_unique<Impl>()) {
  m_pImpl->objSilence = objSilence;
  curl_global_init(CURL_GLOBAL_DEFAULT);
  m_pImpl->pCurl.reset(curl_easy_init());
}

CurlTransport::~CurlTransport() = default;

HttpResponse CurlTransport::DoSend(const HttpRequest& objRequest) {
  const auto objUrl = ParseUrl(objRequest.strUrl);
  const WebCredentials* pUser = objRequest.objCredentials.UserAndPassword();
  if (!objUrl || !pUser) return Exchange(objRequest, Handshake::kNone);
  const std::string strLogin =
      objUrl->SchemeAndHost() + ":" + objUrl->strPort + " " + pUser->User().ToUtf8();
  const auto nEnd = Now() + objRequest.nTimeout;
  // One that has worked is asked for at once, as long as the server offers it, and Basic else.
  auto& mapHandshakes = m_pImpl->mapHandshakes;
  const auto it = mapHandshakes.find(strLogin);
  const Handshake eKnown = it == mapHandshakes.end() ? Handshake::kNone : it->second;
  HttpResponse objResponse = Exchange(objRequest, eKnown);
  if (objResponse.nStatus != 401) return objResponse;
  mapHandshakes.erase(strLogin);
  auto arrHandshakes = HandshakesFor(objResponse, *pUser, objRequest.strUrl);
  if (std::erase(arrHandshakes, eKnown) > 0) mapHandshakes[strLogin] = eKnown;
  for (const Handshake eHandshake : arrHandshakes) {
    HttpRequest objLogin = objRequest;
    objLogin.nTimeout = std::chrono::duration_cast<std::chrono::milliseconds>(nEnd - Now());
    if (objLogin.pBody) objLogin.pBody->Rewind();
    objResponse = Exchange(objLogin, eHandshake);
    if (objResponse.nStatus != 401) {
      mapHandshakes[strLogin] = eHandshake;
      return objResponse;
    }
  }
  return objResponse;
}

// The last try of an outage must not outlast the patience by the whole limit.
CurlTransport::Silence CurlTransport::SilenceFor(const HttpRequest& objRequest) {
  Silence objSilence = m_pImpl->objSilence;
  if (Settings().nPatience.count() == 0) return objSilence;
  const auto nLeft = PatienceLeft(HostForMessage(objRequest.strUrl));
  objSilence.nLost = std::min(objSilence.nLost, std::max(objSilence.nLeast, nLeft));
  return objSilence;
}

Outcome CurlTransport::Impl::Try(const HttpRequest& objRequest, Handshake eHandshake,
                                 const Silence& objLimits) {
  Outcome objOutcome;
  Transfer& objTransfer = objOutcome.objTransfer;
  objTransfer.pBody = objRequest.pBody;
  objTransfer.bSendOnce = objRequest.bSendOnce;
  objTransfer.bWatched = Settings().bSafe;
  objTransfer.objSilence = objLimits;
  objTransfer.strSilent = SilenceLine(objRequest, objLimits);
  HeaderList objHeaders;
  AddHeaders(objHeaders, objRequest, /*bCredentials=*/eHandshake == Handshake::kNone);
  char szDetail[CURL_ERROR_SIZE] = "";
  objConnections.EndWhereEnded();
  curl_easy_reset(pCurl.get());  // keeps the connections
  SetOptions(pCurl.get(), objRequest, objTransfer);
  if (bConnectAnew) curl_easy_setopt(pCurl.get(), CURLOPT_FRESH_CONNECT, 1L);
  objConnections.Follow(pCurl.get());
  if (const WebCredentials* pUser = objRequest.objCredentials.UserAndPassword()) {
    SetHandshake(pCurl.get(), eHandshake, *pUser);
  }
  curl_easy_setopt(pCurl.get(), CURLOPT_HTTPHEADER, objHeaders.Get());
  curl_easy_setopt(pCurl.get(), CURLOPT_ERRORBUFFER, szDetail);
  Perform(pCurl.get(), objOutcome);
  objOutcome.objEnd.strDetail = szDetail;
  curl_easy_reset(pCurl.get());  // drops the pointers into this call
  if (objTransfer.pFailure) std::rethrow_exception(objTransfer.pFailure);
  return objOutcome;
}

HttpResponse CurlTransport::Exchange(const HttpRequest& objRequest, Handshake eHandshake) {
  if (!m_pImpl->pCurl)
    throw ServiceException("The request failed. The HTTP library did not start.");
  const auto nEnd = Now() + objRequest.nTimeout;
  const Silence objSilence = SilenceFor(objRequest);
  Outcome objOutcome = m_pImpl->Try(objRequest, eHandshake, objSilence);
  if (Settings().bSafe && IsForAnotherConnection(objOutcome)) {
    HttpRequest objAgain = objRequest;
    objAgain.bNewConnection = true;
    objAgain.nTimeout = std::chrono::duration_cast<std::chrono::milliseconds>(nEnd - Now());
    if (objAgain.pBody) objAgain.pBody->Rewind();
    objOutcome = m_pImpl->Try(objAgain, eHandshake, objSilence);
  }
  m_pImpl->bConnectAnew = Settings().bSafe && IsNobodys400(objOutcome);
  if (objOutcome.objEnd.eCode != CURLE_OK) throw NetworkFailure(objRequest, objOutcome.objEnd);
  return std::move(objOutcome.objTransfer.objResponse);
}

}  // namespace ews
