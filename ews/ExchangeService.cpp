#include "ews/ExchangeService.h"

#include <algorithm>

#include "ews/Autodiscover.h"
#include "ews/HttpFailure.h"
#include "ews/Outage.h"
#include "ews/RequestBody.h"
#include "ews/ResponseCodes.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/SoapWriter.h"
#include "ews/Url.h"

namespace ews {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLeastBackOff{1000};  // so that a retry never spins

std::string WithServiceOff(std::string strText) {
  return WithLogonRefused(WithoutStop(std::move(strText)) + ". " + kServiceIsOff);
}

bool IsLogonRefusal(const Failure& objFailure) {
  return objFailure.nHttpStatus == 401 || objFailure.nHttpStatus == 403;
}

// The failure that the server's words become. Where they leave open what became of a request that
// makes something, or tell of the service being switched off, the safe switch adds a sentence.
ServiceResponseException Refusal(const std::string& strText, const std::string& strCode,
                                 const Failure& objFailure, ExchangeService::Effect eEffect) {
  std::string strMessage = strText.empty() ? strCode : strText;
  if (Settings().bSafe) {
    const bool bCreates = eEffect == ExchangeService::Effect::kCreates;
    if (bCreates && objFailure.bMayBeCarriedOut) {
      strMessage = WithOpenOutcome(std::move(strMessage), "The server");
    }
    if (strCode == "ErrorAccessDenied" && SaysServiceIsOff(strText)) {
      strMessage = WithServiceOff(std::move(strMessage));
    }
  }
  return ServiceResponseException(strMessage, strCode, objFailure);
}

// What the code says; a time to wait, which comes with the answer or in its header, says that
// nothing was done.
Failure FailureOf(const HttpResponse& objResponse, const std::string& strCode,
                  const std::optional<milliseconds>& nBackOff) {
  Failure objFailure = FailureOfCode(strCode);
  objFailure.nBackOff = FailureOfStatus(objResponse).nBackOff;
  if (strCode == "ErrorServerBusy" && nBackOff) {
    objFailure.nBackOff = std::max(*nBackOff, kLeastBackOff);
  }
  if (objFailure.nBackOff) {
    objFailure.bOutage = true;
    objFailure.bMayBeCarriedOut = false;
  }
  return objFailure;
}

ServiceException NoSoap(const HttpRequest& objRequest, const HttpResponse& objResponse,
                        ExchangeService::Effect eEffect) {
  const std::uint64_t nBytes = objRequest.pBody ? objRequest.pBody->Length() : 0;
  Failure objFailure = FailureOfStatus(objResponse);
  std::string strText = HttpFailureText(objRequest.strUrl, objResponse, nBytes);
  if (objResponse.nStatus / 100 == 2) {
    objFailure.bMayBeCarriedOut = true;
    strText = "The request failed. The answer of the server " + HostForMessage(objRequest.strUrl) +
              " is no answer of a mailbox service.";
  }
  if (objFailure.bMayBeCarriedOut && eEffect == ExchangeService::Effect::kCreates) {
    strText = WithOpenOutcome(std::move(strText), "It");
  }
  if (Settings().bSafe && IsLogonRefusal(objFailure) &&
      (SaysServiceIsOff(objResponse.Header("X-MS-Diagnostics")) ||
       SaysServiceIsOff(objResponse.strBody))) {
    strText = WithServiceOff(std::move(strText));
  }
  return ServiceException(strText, objFailure);
}

// The answer, or its failure thrown; those of single messages among several are the caller's.
SoapResponse Judge(const HttpRequest& objRequest, const HttpResponse& objResponse,
                   ExchangeService::Effect eEffect) {
  auto objSoap = ReadSoapResponse(objResponse.strBody);
  if (objSoap && objSoap->objFault) {
    const SoapFault& objFault = *objSoap->objFault;
    throw Refusal(objFault.strText, objFault.strCode,
                  FailureOf(objResponse, objFault.strCode, objFault.nBackOff), eEffect);
  }
  if (objSoap && objSoap->arrMessages.size() == 1 && objSoap->arrMessages.front().bError) {
    const ResponseMessage& objMessage = objSoap->arrMessages.front();
    throw Refusal(objMessage.strText, objMessage.strCode,
                  FailureOf(objResponse, objMessage.strCode, objMessage.nBackOff), eEffect);
  }
  if (objResponse.nStatus != 200 || !objSoap) throw NoSoap(objRequest, objResponse, eEffect);
  return std::move(*objSoap);
}

// A request follows a redirection of the endpoint to its own origin and to trusted hosts alone.
bool MayCarryCredentials(const std::string& strFrom, const std::string& strTo) {
  const auto objFrom = ParseUrl(strFrom);
  const auto objTo = ParseUrl(strTo);
  if (!objFrom || !objTo) return false;
  return objFrom->SameOrigin(*objTo) || (objTo->IsHttps() && Settings().TrustsHost(objTo->strHost));
}

// Stands while a logon is renewed, so that no request made meanwhile renews it again.
class RenewalMark {
 public:
  explicit RenewalMark(bool& bRenewing) : m_bRenewing(bRenewing) { m_bRenewing = true; }
  ~RenewalMark() { m_bRenewing = false; }
  RenewalMark(const RenewalMark&) = delete;
  RenewalMark& operator=(const RenewalMark&) = delete;

 private:
  bool& m_bRenewing;
};

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
  return Send(std::move(objRequest), eEffect);
}

ResponseMessage ExchangeService::CallForOne(Effect eEffect,
                                            const std::function<void(SoapWriter&)>& fnBody) {
  SoapResponse objResponse = Call(eEffect, fnBody);
  if (objResponse.arrMessages.empty()) {
    throw ServiceException(eEffect == Effect::kCreates ? WithOpenOutcome(kNoAnswer, "The server")
                                                       : kNoAnswer);
  }
  ResponseMessage& objMessage = objResponse.arrMessages.front();
  if (objMessage.bError) {
    throw Refusal(objMessage.strText, objMessage.strCode, FailureOfCode(objMessage.strCode),
                  eEffect);
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

SoapResponse ExchangeService::Send(HttpRequest objRequest, Effect eEffect) {
  if (!m_strLogonRefused.empty()) throw ServiceException(m_strLogonRefused);
  try {
    return SendUntilServed(objRequest, eEffect);
  } catch (const ServiceException& e) {
    if (std::string_view(e.what()).find(kLogonRefused) != std::string_view::npos) {
      m_strLogonRefused = e.what();
    }
    const bool bRenews = Settings().bSafe && IsLogonRefusal(e.Cause()) && !m_bRenewing;
    if (!bRenews || !m_strLogonRefused.empty()) throw;
  }
  return SendWithNewLogon(std::move(objRequest), eEffect);
}

// A token may have run out, or a server have forgotten a logon. Once, for each try may count
// towards the locking of an account.
SoapResponse ExchangeService::SendWithNewLogon(HttpRequest objRequest, Effect eEffect) {
  const RenewalMark objMark(m_bRenewing);
  try {
    if (m_fnNewLogon) m_objCredentials = m_fnNewLogon();
  } catch (const ServiceException& e) {
    if (e.Cause().bOutage) throw;
    RefuseLogon(std::string("A new logon failed. ") + e.what());
  }
  objRequest.objCredentials = m_objCredentials;
  objRequest.bNewConnection = true;
  try {
    return SendUntilServed(objRequest, eEffect);
  } catch (const ServiceException& e) {
    if (!IsLogonRefusal(e.Cause())) throw;
    // Something on the way may forbid this one request for what is in it.
    const bool bOneOnly = e.Cause().nHttpStatus == 403 && eEffect == Effect::kCreates;
    if (bOneOnly && AnswersQuestions()) throw;
    RefuseLogon(WithoutStop(e.what()) + "; a new logon did not help");
  }
}

bool ExchangeService::AnswersQuestions() {
  try {
    (void)FindFolders(WellKnownFolderName::MsgFolderRoot, FolderView(1));
  } catch (const ServiceException& e) {
    return !IsLogonRefusal(e.Cause());
  }
  return true;
}

void ExchangeService::RefuseLogon(const std::string& strText) {
  m_strLogonRefused = WithLogonRefused(strText);
  throw ServiceException(m_strLogonRefused);
}

SoapResponse ExchangeService::SendUntilServed(HttpRequest objRequest, Effect eEffect) {
  const std::string strUrl = objRequest.strUrl;
  const auto eRepeat = eEffect == Effect::kCreates ? Outage::Repeat::kUnlessMaybeCarriedOut
                                                   : Outage::Repeat::kAlways;
  const Outage objOutage(Transport(), HostForMessage(strUrl), objRequest.nTimeout, eRepeat);
  return WaitOut(objOutage, [&](milliseconds nTimeout) {
    objRequest.nTimeout = nTimeout;
    const HttpResponse objResponse = SendFollowingRedirects(
        Transport(), objRequest,
        [&](const std::string& strTo) { return MayCarryCredentials(strUrl, strTo); });
    return Judge(objRequest, objResponse, eEffect);
  });
}

}  // namespace ews
