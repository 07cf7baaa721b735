#include "ews/ExchangeService.h"

#include <algorithm>
#include <charconv>

#include <curl/curl.h>

#include "ews/Autodiscover.h"
#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/SoapWriter.h"
#include "ews/Url.h"

namespace ews {
namespace {

using std::chrono::milliseconds;

// Retry-After is a number of seconds or a date.
std::optional<milliseconds> RetryAfter(const HttpResponse& objResponse) {
  const std::string strValue = objResponse.Header("Retry-After");
  if (strValue.empty()) return std::nullopt;
  long long nSeconds = 0;
  const char* pEnd = strValue.data() + strValue.size();
  if (std::from_chars(strValue.data(), pEnd, nSeconds).ptr != pEnd) {
    const auto nWhen = curl_getdate(strValue.c_str(), nullptr);
    if (nWhen < 0) return std::nullopt;
    nSeconds =
        static_cast<long long>(nWhen) - std::chrono::duration_cast<std::chrono::seconds>(
                                            std::chrono::system_clock::now().time_since_epoch())
                                            .count();
  }
  const long long nMost = kMaxBackOff.count() / 1000;
  return milliseconds(std::clamp(nSeconds, 0LL, nMost) * 1000);
}

// How long the server wants to be left alone; nothing if it does not throttle. An answer that asks
// for no time at all is taken as a second, so that a retry never spins.
std::optional<milliseconds> ThrottleTime(const HttpResponse& objResponse,
                                         const std::optional<SoapResponse>& objSoap) {
  constexpr milliseconds kLeast{1000};
  std::optional<milliseconds> nTime;
  if (objResponse.nStatus == 429 || objResponse.nStatus == 503) nTime = RetryAfter(objResponse);
  if (objSoap && objSoap->objFault && objSoap->objFault->strCode == "ErrorServerBusy") {
    if (const auto& nBackOff = objSoap->objFault->nBackOff) nTime = nBackOff;
  }
  if (objSoap && objSoap->arrMessages.size() == 1 && objSoap->arrMessages.front().bError &&
      objSoap->arrMessages.front().strCode == "ErrorServerBusy") {
    if (const auto& nBackOff = objSoap->arrMessages.front().nBackOff) nTime = nBackOff;
  }
  if (nTime && *nTime == milliseconds(0)) return kLeast;
  return nTime;
}

SoapResponse Judge(const std::string& strUrl, const HttpResponse& objResponse,
                   std::optional<SoapResponse> objSoap) {
  if (objSoap && objSoap->objFault) {
    throw ServiceResponseException(objSoap->objFault->strText, objSoap->objFault->strCode);
  }
  if (objResponse.nStatus != 200) throw ServiceException(HttpFailureText(strUrl, objResponse));
  if (!objSoap) {
    throw ServiceException("The request failed. The answer of the server " +
                           HostForMessage(strUrl) + " is no answer of a mailbox service.");
  }
  return std::move(*objSoap);
}

// A request follows a redirection of the endpoint to its own origin and to trusted hosts alone.
bool MayCarryCredentials(const std::string& strFrom, const std::string& strTo) {
  const auto objFrom = ParseUrl(strFrom);
  const auto objTo = ParseUrl(strTo);
  if (!objFrom || !objTo) return false;
  return objFrom->SameOrigin(*objTo) || (objTo->IsHttps() && Settings().TrustsHost(objTo->strHost));
}

bool BreaksLine(std::u16string_view str) {
  return std::any_of(str.begin(), str.end(), [](char16_t ch) { return ch < 0x20 || ch == 0x7F; });
}

}  // namespace

void HttpHeaderCollection::Add(const CString& strName, const CString& strValue) {
  if (strName.IsEmpty() || BreaksLine(strName) || BreaksLine(strValue) || strName.Contains(u":")) {
    throw ServiceException("The HTTP header '" + strName.ToUtf8() + "' cannot be sent.");
  }
  m_arr.emplace_back(strName.ToUtf8(), strValue.ToUtf8());
}

void ExchangeService::AutodiscoverUrl(const CString& strAddress,
                                      const RedirectionCallback& fnCallback) {
  m_strUrl = DiscoverEndpoint(strAddress, m_objCredentials, m_nTimeout, fnCallback);
}

FindFoldersResults ExchangeService::FindFolders(const FolderId& objParent,
                                                const FolderView& objView) {
  return Find(objParent, nullptr, objView);
}

FindFoldersResults ExchangeService::FindFolders(const FolderId& objParent,
                                                const SearchFilter& objFilter,
                                                const FolderView& objView) {
  return Find(objParent, &objFilter, objView);
}

FindFoldersResults ExchangeService::Find(const FolderId& objParent, const SearchFilter* pFilter,
                                         const FolderView& objView) {
  using enum SoapWriter::Vocabulary;
  const ResponseMessage objAnswer = CallForOne(Effect::kReads, [&](SoapWriter& objWriter) {
    objWriter.Start(kMessages, "FindFolder");
    objWriter.Attribute("Traversal", std::string_view("Shallow"));
    objWriter.Start(kMessages, "FolderShape");
    objWriter.Element(kTypes, "BaseShape", std::string_view("AllProperties"));
    objWriter.End();
    objWriter.Page("IndexedPageFolderView", objView.PageSize(), objView.Offset());
    if (pFilter) {
      objWriter.Start(kMessages, "Restriction");
      pFilter->WriteTo(objWriter);
      objWriter.End();
    }
    objWriter.Start(kMessages, "ParentFolderIds");
    objParent.WriteTo(objWriter);
    objWriter.End();
    objWriter.End();
  });
  std::vector<Folder> arrFolders;
  for (const FolderRecord& objRecord : objAnswer.arrFolders) {
    arrFolders.emplace_back(shared_from_this(), FolderId(CString::FromUtf8(objRecord.strId)),
                            CString::FromUtf8(objRecord.strDisplayName));
  }
  return FindFoldersResults(std::move(arrFolders), objAnswer.nTotalItemsInView);
}

SoapResponse ExchangeService::Call(Effect eEffect, const std::function<void(SoapWriter&)>& fnBody) {
  if (m_strUrl.IsEmpty()) throw ServiceException(kNoService);
  const CString* pImpersonated = nullptr;
  if (m_objImpersonated) {
    if (m_objImpersonated->Id().IsEmpty()) {
      throw ServiceException("The address of the mailbox to impersonate is empty.");
    }
    pImpersonated = &m_objImpersonated->Id();
  }
  SoapWriter objWriter(m_eVersion, pImpersonated);
  fnBody(objWriter);
  RequestBody objBody = objWriter.Finish();
  HttpRequest objRequest = MakeRequest(objBody);
  objRequest.bSendOnce = eEffect == Effect::kCreates;
  return SendUntilServed(std::move(objRequest));
}

ResponseMessage ExchangeService::CallForOne(Effect eEffect,
                                            const std::function<void(SoapWriter&)>& fnBody) {
  SoapResponse objResponse = Call(eEffect, fnBody);
  if (objResponse.arrMessages.empty()) throw ServiceException(kNoAnswer);
  ResponseMessage& objMessage = objResponse.arrMessages.front();
  if (objMessage.bError) {
    throw ServiceResponseException(
        objMessage.strText.empty() ? objMessage.strCode : objMessage.strText, objMessage.strCode);
  }
  return std::move(objMessage);
}

HttpRequest ExchangeService::MakeRequest(RequestBody& objBody) const {
  HttpRequest objRequest;
  objRequest.strUrl = m_strUrl.ToUtf8();
  objRequest.arrHeaders = {{"Content-Type", "text/xml; charset=utf-8"}, {"Accept", "text/xml"}};
  const Headers& arrOwn = m_objHeaders.All();
  objRequest.arrHeaders.insert(objRequest.arrHeaders.end(), arrOwn.begin(), arrOwn.end());
  objRequest.objCredentials = m_objCredentials;
  objRequest.bSecretBody = true;  // the mail, and who is impersonated
  objRequest.pBody = &objBody;
  objRequest.nTimeout = milliseconds(std::max(m_nTimeout, 1));
  return objRequest;
}

// A busy server is waited for and asked again as long as the time-out allows.
SoapResponse ExchangeService::SendUntilServed(HttpRequest objRequest) {
  EwsTransport& objTransport = Transport();
  const auto nEnd = objTransport.Now() + objRequest.nTimeout;
  const std::string strUrl = objRequest.strUrl;
  while (true) {
    const HttpResponse objResponse = SendFollowingRedirects(
        objTransport, objRequest,
        [&](const std::string& strTo) { return MayCarryCredentials(strUrl, strTo); });
    auto objSoap = ReadSoapResponse(objResponse.strBody);
    const auto nThrottle = ThrottleTime(objResponse, objSoap);
    const auto nLeft = std::chrono::duration_cast<milliseconds>(nEnd - objTransport.Now());
    if (!nThrottle || *nThrottle >= nLeft) return Judge(strUrl, objResponse, std::move(objSoap));
    objTransport.Wait(*nThrottle);
    objRequest.nTimeout = nLeft - *nThrottle;
  }
}

}  // namespace ews
