#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "ews/Credentials.h"
#include "ews/EwsTransport.h"
#include "ews/FindFolders.h"
#include "ews/FindItems.h"
#include "ews/SearchFilter.h"
#include "ews/SoapReader.h"
#include "ews/Types.h"

namespace ews {

class ServiceException;
class SoapWriter;
struct Failure;

class ImpersonatedUserId {
 public:
  ImpersonatedUserId(ConnectingIdType eType, CString strId)
      : m_eType(eType), m_strId(std::move(strId)) {}
  ConnectingIdType IdType() const { return m_eType; }
  const CString& Id() const { return m_strId; }

 private:
  ConnectingIdType m_eType;
  CString m_strId;
};

// HTTP headers of the caller's own, sent with each request.
class HttpHeaderCollection {
 public:
  // Throws ServiceException for a name or value that would break out of its line.
  void Add(const CString& strName, const CString& strValue);
  const Headers& All() const { return m_arr; }

 private:
  Headers m_arr;
};

// True lets autodiscovery follow a redirection to that address.
using RedirectionCallback = std::function<bool(const CString& strUrl)>;

// The connection to one mailbox server. Making one costs nothing: connections are kept for the
// process. Every call that sends a request throws ServiceException on any failure: with the
// server's text when it refuses, with "The request failed. …" for what went wrong on the way.
// Folders and items hold the service, so it is always made as a std::shared_ptr.
class ExchangeService : public std::enable_shared_from_this<ExchangeService> {
 public:
  static constexpr int kDefaultTimeout = 100000;  // ms

  explicit ExchangeService(ExchangeVersion eVersion) : m_eVersion(eVersion) {}

  void SetUrl(CString strUrl) { m_strUrl = std::move(strUrl); }
  const CString& Url() const { return m_strUrl; }
  void SetCredentials(const WebCredentials& objCredentials) { m_objCredentials = objCredentials; }
  void SetCredentials(const OAuthCredentials& objCredentials) { m_objCredentials = objCredentials; }
  // With the safe switch, what a request does whose logon is refused by 401 or 403: it takes these
  // new credentials, or without a function the old ones, and is sent once more on a connection of
  // its own. If that is refused as well, this and all further requests fail without being sent, and
  // their text holds kLogonRefused. fnNewLogon throws ServiceException if there are none. Where a
  // 403 may be for one request alone a question is asked first, and does so; if it is answered, a
  // question that was refused is asked once more, and what makes something fails by itself.
  using NewLogon = std::function<Credentials()>;
  void SetNewLogon(NewLogon fnNewLogon) { m_fnNewLogon = std::move(fnNewLogon); }
  // An empty address is found out at the next request.
  void SetImpersonatedUserId(ImpersonatedUserId objId) { m_objImpersonated = std::move(objId); }
  HttpHeaderCollection& HttpHeaders() { return m_objHeaders; }
  // Milliseconds for a whole request: upload, answer, and, where outages are not waited out, the
  // waits that a busy server asks for.
  void SetTimeout(int nMilliseconds) { m_nTimeout = nMilliseconds; }
  int Timeout() const { return m_nTimeout; }

  // Finds the endpoint for a mail address and sets Url (see ews/Autodiscover.h). Answers from the
  // settings without a request where they name the endpoint.
  void AutodiscoverUrl(const CString& strAddress, const RedirectionCallback& fnCallback);

  FindFoldersResults FindFolders(const FolderId& objParent, const FolderView& objView);
  FindFoldersResults FindFolders(const FolderId& objParent, const SearchFilter& objFilter,
                                 const FolderView& objView);
  // The items of a folder that fit the filter, or all of them for null (ews/FindItems.cpp).
  FindItemsResults FindItems(const FolderId& objParent, const SearchFilter* pFilter,
                             const ItemView& objView);

  // What a call does at the server, and with it whether a connection that ends without an answer
  // may be followed by a second try.
  enum class Effect {
    kReads,
    kOnceAtMost,  // the server refuses a second one; with the safe switch it is repeated as kReads
                  // is
    kCreates
  };

  // One SOAP call, for the classes of this library: fnBody writes what stands in the body. Returns
  // the response messages as they are, failed ones too; a fault has been thrown, and so has the
  // failure of a message that is the only one. strZone: the Windows name of the time zone in
  // which the server is to read dates.
  SoapResponse Call(Effect eEffect, const std::function<void(SoapWriter&)>& fnBody,
                    std::string_view strZone = {});
  // The same for a call with one response message: the message, or its failure thrown.
  ResponseMessage CallForOne(Effect eEffect, const std::function<void(SoapWriter&)>& fnBody,
                             std::string_view strZone = {});

 private:
  FindFoldersResults Find(const FolderId& objParent, const SearchFilter* pFilter,
                          const FolderView& objView);
  struct Request {
    HttpRequest objHttp;
    Effect eEffect;
    std::string strOperation;  // such as "FindItem"
  };
  HttpRequest MakeHttp(RequestBody& objBody) const;
  SoapResponse Send(Request objRequest);
  SoapResponse SendWithNewLogon(Request objRequest);
  bool IsForOneRequest(const Failure& objFailure);
  bool RefusesQuestions();
  // Says in the text of all further requests that the service is off, or pszElse.
  [[noreturn]] void RefuseLogon(const ServiceException& objError, const char* pszElse = "");
  // Waits outages out (ews/Outage.h).
  SoapResponse SendUntilServed(Request objRequest);
  SoapResponse SendLast(const Request& objRequest);
  SoapResponse SendAndJudge(const Request& objRequest);
  // How many failures of a request are waited out before others are looked at.
  int MostFailures(const Request& objRequest) const;
  bool AnswersAtOnce();

  ExchangeVersion m_eVersion;
  CString m_strUrl;
  Credentials m_objCredentials;
  std::optional<ImpersonatedUserId> m_objImpersonated;
  HttpHeaderCollection m_objHeaders;
  int m_nTimeout = kDefaultTimeout;
  NewLogon m_fnNewLogon;
  bool m_bRenewing = false;
  bool m_bAsking = false;        // whether others than one request are refused
  bool m_bWaitsForNone = false;  // a failure of the request that is made now is not waited out
  // The questions that met nothing but failures, where others were answered, and until when they
  // are not waited for again.
  std::string m_strUnanswered;
  std::chrono::steady_clock::time_point m_nUnansweredUntil;
  std::string m_strLogonRefused;  // the text of all further requests; empty while there may be some
};

}  // namespace ews
