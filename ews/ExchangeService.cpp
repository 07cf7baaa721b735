#include "ews/ExchangeService.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "ews/Autodiscover.h"
#include "ews/HttpFailure.h"
#include "ews/MailboxFull.h"
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
// Failures of one request that come from something on the way, before others are looked at: of
// one that makes something, and of a question.
constexpr int kMostOnTheWay = 4;
constexpr int kMostUnanswered = 5;
// Before a kind of question is waited for again.
constexpr std::chrono::seconds kStaysUnanswered{60};
constexpr std::uint64_t kTinyBytes = 256 << 10;  // no limit of size is meant for a request of that

bool IsLogonRefusal(const Failure& objFailure) {
  return objFailure.nHttpStatus == 401 || objFailure.nHttpStatus == 403;
}

bool EndsAsOurs(std::string_view strText) {
  return SaysOpenOutcome(strText) || SaysGivenUp(strText) || SaysLogonRefused(strText) ||
         SaysMailboxFull(strText) || OutageIn(strText);
}

// The failure that the server's words become. Where they leave open what became of a request that
// makes something, or the mailbox is full, the safe switch says so behind them.
ServiceResponseException Refusal(const std::string& strText, const std::string& strCode,
                                 Failure objFailure, ExchangeService::Effect eEffect) {
  std::string strMessage = strText.empty() ? strCode : strText;
  if (Settings().bSafe) {
    if (EndsAsOurs(strMessage)) strMessage += " (the server's words)";
    const bool bCreates = eEffect == ExchangeService::Effect::kCreates;
    if (bCreates && objFailure.bMayBeCarriedOut) {
      strMessage = WithOpenOutcome(std::move(strMessage), "The server");
    }
    if (IsMailboxFull(strCode)) strMessage = WithMailboxFull(std::move(strMessage));
    objFailure.bSaysServiceIsOff = strCode == "ErrorAccessDenied" && SaysServiceIsOff(strText);
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

// strWhy completes "The answer of the server".
ServiceException NoSoap(const HttpRequest& objRequest, const HttpResponse& objResponse,
                        ExchangeService::Effect eEffect, std::string_view strWhy) {
  const std::uint64_t nBytes = objRequest.pBody ? objRequest.pBody->Length() : 0;
  Failure objFailure = FailureOfStatus(objResponse);
  const bool bCreates = eEffect == ExchangeService::Effect::kCreates;
  if (Settings().bSafe && bCreates && LeavesOutcomeOpen(objResponse)) {
    objFailure.bMayBeCarriedOut = true;
  }
  std::string strText = HttpFailureText(objRequest.strUrl, objResponse, nBytes);
  objFailure.bMayPass =
      !objFailure.bOutage && (objResponse.nStatus == 400 || objResponse.nStatus >= 500);
  if (objResponse.nStatus / 100 == 2) {
    objFailure.bMayBeCarriedOut = true;
    const bool bOurs = objResponse.strBody.find("Envelope") != std::string::npos;
    objFailure.bMayPass = strWhy == kNoMailboxAnswer && bOurs;  // it broke off
    objFailure.bForeign = strWhy == kNoMailboxAnswer && !bOurs;
    strText = "The request failed. The answer of the server " + HostForMessage(objRequest.strUrl) +
              " " + std::string(strWhy) + ".";
  }
  if (objFailure.bMayBeCarriedOut && bCreates) {
    strText = WithOpenOutcome(std::move(strText), "It");
  }
  objFailure.bSaysServiceIsOff = Settings().bSafe && objFailure.nHttpStatus == 403 &&
                                 (SaysServiceIsOff(objResponse.Header("X-MS-Diagnostics")) ||
                                  SaysServiceIsOff(objResponse.strBody));
  return ServiceException(strText, objFailure);
}

// The answer, or its failure thrown; those of single messages among several are the caller's.
SoapResponse Judge(const HttpRequest& objRequest, const HttpResponse& objResponse,
                   ExchangeService::Effect eEffect) {
  std::string_view strWhy;
  auto objSoap = ReadSoapResponse(objResponse.strBody, &strWhy);
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
  if (objResponse.nStatus != 200 || !objSoap) {
    throw NoSoap(objRequest, objResponse, eEffect, strWhy);
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

// Stands for what is done while it lives.
class Mark {
 public:
  explicit Mark(bool& bMarked) : m_bMarked(bMarked), m_bBefore(std::exchange(bMarked, true)) {}
  ~Mark() { m_bMarked = m_bBefore; }
  Mark(const Mark&) = delete;
  Mark& operator=(const Mark&) = delete;

 private:
  bool& m_bMarked;
  const bool m_bBefore;
};

// For a request that is cut each time where others are served: it is too large for something on the
// way. The text does not open as those of failures that meet all requests alike.
FailsAlone TooLargeForTheWay(const HttpRequest& objRequest) {
  return FailsAlone(
      fmt::format("The connection to {} was cut each time while {} went out, and other requests "
                  "are answered.",
                  HostForMessage(objRequest.strUrl), SizeForMessage(objRequest.pBody->Length())));
}

// Whether a request may fare worse than others: something on the way meets it, or the server was
// reached and has nothing but failures for one kind of question.
bool IsOnTheWay(const Failure& objFailure, ExchangeService::Effect eEffect) {
  if (!Settings().bSafe || !objFailure.bOutage) return false;
  if (objFailure.bCutInBody || objFailure.bForeign) return true;
  const bool bReached = objFailure.nHttpStatus != 0 || objFailure.bMayBeCarriedOut;
  return eEffect == ExchangeService::Effect::kReads && bReached && !objFailure.nBackOff;
}

// The same failure as one of the request alone.
FailsAlone OfRequestAlone(const ServiceException& objError, ExchangeService::Effect eEffect) {
  Failure objFailure = objError.Cause();
  objFailure.bOutage = false;
  if (eEffect == ExchangeService::Effect::kReads) objFailure.bMayBeCarriedOut = false;
  return FailsAlone(objError.what(), objFailure);
}

// Nothing was done with what was refused so: it can be sent again at once.
bool IsStraySizeRefusal(const HttpRequest& objRequest, const HttpResponse& objResponse) {
  return Settings().bSafe && objResponse.nStatus == 413 && !objResponse.bRedirected &&
         objRequest.pBody && objRequest.pBody->Length() < kTinyBytes;
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
    objWriter.Attribute("Traversal", std::string_view(objView.Deep() ? "Deep" : "Shallow"));
    objWriter.Start(kMessages, "FolderShape");
    objWriter.Element(kTypes, "BaseShape", std::string_view("AllProperties"));
    objWriter.End();
    objWriter.Page("IndexedPageFolderView", objView.PageSize(), objView.Offset());
    WriteSearch(objWriter, pFilter, objParent);
    objWriter.End();
  });
  std::vector<Folder> arrFolders;
  for (const FolderRecord& objRecord : objAnswer.arrFolders) {
    arrFolders.emplace_back(shared_from_this(), FolderId(CString::FromUtf8(objRecord.strId)),
                            CString::FromUtf8(objRecord.strDisplayName),
                            CString::FromUtf8(objRecord.strClass));
  }
  return FindFoldersResults(std::move(arrFolders), objAnswer.nTotalItemsInView);
}

SoapResponse ExchangeService::Call(Effect eEffect, const std::function<void(SoapWriter&)>& fnBody,
                                   std::string_view strZone) {
  if (m_strUrl.IsEmpty()) throw ServiceException(kNoService);
  if (eEffect == Effect::kOnceAtMost && !Settings().bSafe) eEffect = Effect::kCreates;
  const CString* pImpersonated = nullptr;
  if (m_objImpersonated) {
    if (m_objImpersonated->Id().IsEmpty()) {
      throw ServiceException("The address of the mailbox to impersonate is empty.");
    }
    pImpersonated = &m_objImpersonated->Id();
  }
  SoapWriter objWriter(m_eVersion, pImpersonated, strZone);
  fnBody(objWriter);
  RequestBody objBody = objWriter.Finish();
  Request objRequest{MakeHttp(objBody), eEffect, objWriter.Operation()};
  objRequest.objHttp.bSendOnce = eEffect == Effect::kCreates;
  return Send(std::move(objRequest));
}

ResponseMessage ExchangeService::CallForOne(Effect eEffect,
                                            const std::function<void(SoapWriter&)>& fnBody,
                                            std::string_view strZone) {
  SoapResponse objResponse = Call(eEffect, fnBody, strZone);
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

HttpRequest ExchangeService::MakeHttp(RequestBody& objBody) const {
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

SoapResponse ExchangeService::Send(Request objRequest) {
  if (!m_strLogonRefused.empty()) throw ServiceException(m_strLogonRefused);
  try {
    return SendUntilServed(objRequest);
  } catch (const ServiceException& e) {
    if (e.Cause().bNoHandshake) {
      m_strLogonRefused = e.what();
      throw;
    }
    if (!Settings().bSafe || !(IsLogonRefusal(e.Cause()) || e.Cause().bSaysServiceIsOff)) throw;
    if (IsForOneRequest(e.Cause())) {
      if (objRequest.eEffect == Effect::kCreates) throw;  // what became of it is looked for first
    } else {
      if (!m_strLogonRefused.empty()) throw ServiceException(m_strLogonRefused);
      if (e.Cause().bSaysServiceIsOff) RefuseLogon(e);
      if (m_bRenewing) throw;
      return SendWithNewLogon(std::move(objRequest));
    }
  }
  objRequest.objHttp.objCredentials = m_objCredentials;  // which the question may have renewed
  return SendUntilServed(std::move(objRequest));
}

// A token may have run out, or a server have forgotten a logon. Once, for each try may count
// towards the locking of an account.
SoapResponse ExchangeService::SendWithNewLogon(Request objRequest) {
  const Mark objMark(m_bRenewing);  // no request made meanwhile renews it again
  try {
    if (m_fnNewLogon) m_objCredentials = m_fnNewLogon();
  } catch (const ServiceException& e) {
    if (e.Cause().bOutage) throw;
    RefuseLogon(ServiceException(std::string("A new logon failed. ") + e.what()));
  }
  objRequest.objHttp.objCredentials = m_objCredentials;
  objRequest.objHttp.bNewConnection = true;
  try {
    return SendUntilServed(objRequest);
  } catch (const ServiceException& e) {
    if (!IsLogonRefusal(e.Cause()) && !e.Cause().bSaysServiceIsOff) throw;
    if (IsForOneRequest(e.Cause())) throw;
    if (!m_strLogonRefused.empty()) throw ServiceException(m_strLogonRefused);
    RefuseLogon(e, "; a new logon did not help");
  }
}

// Something on the way may forbid a mail for what is in it, be it with a page that tells of a
// service being blocked, or one kind of question: whether others fare the same is asked of the
// server.
bool ExchangeService::IsForOneRequest(const Failure& objFailure) {
  if (m_bAsking || objFailure.nHttpStatus == 401) return false;
  const Mark objMark(m_bAsking);
  return !RefusesQuestions();
}

bool ExchangeService::RefusesQuestions() {
  try {
    (void)FindFolders(WellKnownFolderName::MsgFolderRoot, FolderView(1));
    return false;
  } catch (const ServiceException& e) {
    return !m_strLogonRefused.empty() || IsLogonRefusal(e.Cause());
  }
}

void ExchangeService::RefuseLogon(const ServiceException& objError, const char* pszElse) {
  const std::string strText = WithoutStop(WithoutOpenOutcome(objError.what()));
  m_strLogonRefused = WithLogonRefused(
      objError.Cause().bSaysServiceIsOff ? strText + ". " + kServiceIsOff : strText + pszElse);
  throw ServiceException(m_strLogonRefused);
}

int ExchangeService::MostFailures(const Request& objRequest) const {
  if (Settings().nPatience.count() == 0) return 1;
  if (objRequest.eEffect == Effect::kCreates) return kMostOnTheWay;
  const bool bKnown = m_strUnanswered == objRequest.strOperation;
  return bKnown && Transport().Now() < m_nUnansweredUntil ? 1 : kMostUnanswered;
}

SoapResponse ExchangeService::SendUntilServed(Request objRequest) {
  using enum Outage::Repeat;
  HttpRequest& objHttp = objRequest.objHttp;
  const auto eRepeat = m_bWaitsForNone                          ? kNever
                       : objRequest.eEffect == Effect::kCreates ? kUnlessMaybeCarriedOut
                                                                : kAlways;
  const Outage objOutage(Transport(), HostForMessage(objHttp.strUrl), objHttp.nTimeout, eRepeat);
  const int nMost = MostFailures(objRequest);
  int nFailures = 0;
  return WaitOut(objOutage, [&](milliseconds nTimeout) {
    objHttp.nTimeout = nTimeout;
    try {
      return SendAndJudge(objRequest);
    } catch (const ServiceException& e) {
      nFailures = IsOnTheWay(e.Cause(), objRequest.eEffect) ? nFailures + 1 : 0;
      if (nFailures < nMost || m_bWaitsForNone || !AnswersAtOnce()) throw;
      if (e.Cause().bCutInBody) throw TooLargeForTheWay(objHttp);
    }
    return SendLast(objRequest);
  });
}

// One more try of what failed again and again where others are served: the server may have come
// back between the two. What fails then is no outage, and the next question of its kind will hardly
// fare better.
SoapResponse ExchangeService::SendLast(const Request& objRequest) {
  try {
    return SendAndJudge(objRequest);
  } catch (const ServiceException& e) {
    if (!e.Cause().bOutage) throw;
    if (objRequest.eEffect == Effect::kReads) {
      m_strUnanswered = objRequest.strOperation;
      m_nUnansweredUntil = Transport().Now() + kStaysUnanswered;
    }
    throw OfRequestAlone(e, objRequest.eEffect);
  }
}

// An address where the service has answered is no wrong one: who knows nothing of it there stands
// in for it while it is out of order, such as a proxy with a page for people.
SoapResponse ExchangeService::SendAndJudge(const Request& objRequest) {
  const HttpRequest& objHttp = objRequest.objHttp;
  HttpResponse objResponse;
  const auto NoteServed = [&] { Transport().NoteServed(objHttp.strUrl, objResponse.bRedirected); };
  try {
    objResponse = SendFollowingRedirects(Transport(), objHttp, [&](const std::string& strTo) {
      return MayCarryCredentials(objHttp.strUrl, strTo);
    });
    if (IsStraySizeRefusal(objHttp, objResponse)) objResponse = Transport().Send(objHttp);
    SoapResponse objAnswer = Judge(objHttp, objResponse, objRequest.eEffect);
    NoteServed();
    if (m_strUnanswered == objRequest.strOperation) m_strUnanswered.clear();
    return objAnswer;
  } catch (const ServiceResponseException&) {
    NoteServed();
    throw;
  } catch (const ServiceException& e) {
    Failure objFailure = e.Cause();
    objFailure.bOutage = objFailure.bOutage || (objFailure.bForeign && Settings().bSafe &&
                                                Transport().HasServed(objHttp.strUrl));
    throw ServiceException(e.what(), objFailure);
  }
}

bool ExchangeService::AnswersAtOnce() {
  const Mark objMark(m_bWaitsForNone);
  try {
    (void)FindFolders(WellKnownFolderName::MsgFolderRoot, FolderView(1));
    return true;
  } catch (const ServiceResponseException& e) {
    return !e.Cause().bOutage;  // a refusal is an answer
  } catch (const ServiceException&) {
    return false;
  }
}

}  // namespace ews
