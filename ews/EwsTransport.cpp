#include "ews/EwsTransport.h"

#include <algorithm>
#include <thread>

#include "ews/CurlTransport.h"
#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/Url.h"

namespace ews {
namespace {

EwsTransport* g_pScoped = nullptr;

bool IsRedirect(int nStatus) {
  return nStatus == 301 || nStatus == 302 || nStatus == 303 || nStatus == 307 || nStatus == 308;
}

bool MayBePassedOn(const HttpRequest& objRequest, const HttpResponse& objResponse) {
  return Settings().bSafe && objRequest.bSendOnce && objResponse.bBehindBody;
}

ServiceException NotFollowed(const HttpRequest& objRequest, const HttpResponse& objResponse,
                             const std::string& strWhere) {
  Failure objFailure;
  objFailure.bForeign = true;
  objFailure.bMayBeCarriedOut = MayBePassedOn(objRequest, objResponse);
  std::string strText =
      "The request failed. " + HostForMessage(objRequest.strUrl) + " redirects " + strWhere + ".";
  if (objFailure.bMayBeCarriedOut) strText = WithOpenOutcome(std::move(strText), "It");
  return ServiceException(strText, objFailure);
}

bool CarriesSecret(const HttpRequest& objRequest) {
  return objRequest.bSecretBody || !objRequest.objCredentials.IsEmpty();
}

}  // namespace

std::string HttpResponse::Header(std::string_view strName) const {
  for (const auto& [strKey, strValue] : arrHeaders) {
    if (EqualHost(strKey, strName)) return strValue;
  }
  return {};
}

HttpResponse EwsTransport::Send(const HttpRequest& objRequest) {
  const auto objUrl = ParseUrl(objRequest.strUrl);
  if (!objUrl) {
    throw ServiceException("The request failed. The server's address is no http or https address.");
  }
  if (CarriesSecret(objRequest) && !objUrl->IsHttps() && !objUrl->IsLoopback()) {
    throw ServiceException("The request failed. Credentials do not travel unencrypted: " +
                           objUrl->strHost + " is asked by plain http.");
  }
  if (objRequest.pBody) objRequest.pBody->Rewind();
  return DoSend(objRequest);
}

std::vector<SrvRecord> EwsTransport::LookUpService(const std::string& strName,
                                                   std::chrono::milliseconds nLimit) {
  return QuerySrv(strName, nLimit);
}

std::chrono::steady_clock::time_point EwsTransport::Now() {
  return std::chrono::steady_clock::now();
}

void EwsTransport::Wait(std::chrono::milliseconds nTime) { std::this_thread::sleep_for(nTime); }

std::chrono::steady_clock::time_point EwsTransport::OutageSince(const std::string& strHost) {
  return m_mapOutages.try_emplace(strHost, Now()).first->second;
}

std::optional<std::chrono::steady_clock::time_point> EwsTransport::EndOutage(
    const std::string& strHost) {
  const auto it = m_mapOutages.find(strHost);
  if (it == m_mapOutages.end()) return std::nullopt;
  const auto nSince = it->second;
  m_mapOutages.erase(it);
  return nSince;
}

std::chrono::milliseconds EwsTransport::PatienceLeft(const std::string& strHost) {
  const auto it = m_mapOutages.find(strHost);
  const auto nEnd = (it == m_mapOutages.end() ? Now() : it->second) + Settings().nPatience;
  return std::chrono::duration_cast<std::chrono::milliseconds>(nEnd - Now());
}

bool EwsTransport::HasServed(const std::string& strUrl) const {
  return Settings().bKnownServer || m_mapServed.contains(strUrl);
}

bool EwsTransport::HasServedItself(const std::string& strUrl) const {
  const auto it = m_mapServed.find(strUrl);
  return it != m_mapServed.end() && !it->second;
}

EwsTransport& Transport() {
  if (g_pScoped) return *g_pScoped;
  static CurlTransport objTransport;
  return objTransport;
}

ScopedTransport::ScopedTransport(EwsTransport& objTransport)
    : m_pPrevious(std::exchange(g_pScoped, &objTransport)) {}

ScopedTransport::~ScopedTransport() { g_pScoped = m_pPrevious; }

HttpResponse SendFollowingRedirects(EwsTransport& objTransport, HttpRequest objRequest,
                                    const std::function<bool(const std::string&)>& fnTrusted) {
  const auto nEnd = objTransport.Now() + objRequest.nTimeout;
  for (int nHops = 0;; ++nHops) {
    HttpResponse objResponse = objTransport.Send(objRequest);
    objResponse.bRedirected = nHops > 0;
    if (!IsRedirect(objResponse.nStatus)) return objResponse;
    const auto Refuse = [&](const std::string& strWhere) {
      throw NotFollowed(objRequest, objResponse, strWhere);
    };
    if (nHops == kMaxRedirects) Refuse("without end");
    const std::string strTarget = ResolveUrl(objRequest.strUrl, objResponse.Header("Location"));
    if (strTarget.empty()) Refuse("to no address");
    if (MayBePassedOn(objRequest, objResponse) && objTransport.HasServedItself(objRequest.strUrl)) {
      Refuse("to " + HostForMessage(strTarget) + ", and has answered by itself before");
    }
    if (!fnTrusted(strTarget)) {
      if (objRequest.bSecretBody) {
        Refuse("to " + HostForMessage(strTarget) + ", which is not trusted");
      }
      objRequest.objCredentials = {};
    }
    objRequest.strUrl = strTarget;
    const auto nLeft =
        std::chrono::duration_cast<std::chrono::milliseconds>(nEnd - objTransport.Now());
    objRequest.nTimeout = std::max(nLeft, std::chrono::milliseconds(1));
  }
}

}  // namespace ews
