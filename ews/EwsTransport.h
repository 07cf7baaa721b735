#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ews/Credentials.h"
#include "ews/SrvRecords.h"

namespace ews {

class RequestBody;

inline constexpr int kMaxRedirects = 10;
inline constexpr size_t kMaxResponseBytes = 64u << 20;  // decoded; more fails the request

using Headers = std::vector<std::pair<std::string, std::string>>;

// One HTTP request. All text is UTF-8.
struct HttpRequest {
  std::string strMethod = "POST";
  std::string strUrl;
  Headers arrHeaders;
  Credentials objCredentials;
  bool bSecretBody = false;      // the body itself is for trusted eyes alone
  bool bSendOnce = false;        // a second arrival would do harm: never repeated once it is out,
                                 // unless a 401 says that it was not carried out
  bool bNewConnection = false;   // a kept one will not do
  RequestBody* pBody = nullptr;  // not owned; null for none. Rewound before it is sent
  std::chrono::milliseconds nTimeout{100000};  // for the whole request, upload included
};

struct HttpResponse {
  int nStatus = 0;
  Headers arrHeaders;
  std::string strBody;       // after decompression
  bool bBehindBody = true;   // it came when all of the request may have arrived
  bool bRedirected = false;  // another address gave it (SendFollowingRedirects)

  // The first header of that name without regard to case, or "".
  std::string Header(std::string_view strName) const;
};

// The one seam between the mailbox client and the network. Also the clock that waits go by, so that
// a test needs no waiting, and the memory of which hosts are out of order (ews/Outage.h) and which
// addresses have served.
class EwsTransport {
 public:
  virtual ~EwsTransport() = default;

  // Sends one request and follows no redirect. Throws ServiceException when no answer came or when
  // credentials would travel unencrypted to another machine; any HTTP status is an answer. The text
  // for a request that is sent once holds kMayBeCarriedOut where it may have been.
  HttpResponse Send(const HttpRequest& objRequest);

  // Where the name service says that the service of that name is (ews/SrvRecords.h), within nLimit.
  virtual std::vector<SrvRecord> LookUpService(const std::string& strName,
                                               std::chrono::milliseconds nLimit);

  virtual std::chrono::steady_clock::time_point Now();
  virtual void Wait(std::chrono::milliseconds nTime);

  // When the outage of that host began: now, if there was none.
  std::chrono::steady_clock::time_point OutageSince(const std::string& strHost);
  // Ends it; when it began, if there was one.
  std::optional<std::chrono::steady_clock::time_point> EndOutage(const std::string& strHost);
  // What of the patience is left for that host, all of it outside of an outage; may be negative.
  std::chrono::milliseconds PatienceLeft(const std::string& strHost);

  // The mailbox service at that address has given an answer of its own, or sent to one that did.
  void NoteServed(const std::string& strUrl, bool bRedirected) {
    m_mapServed[strUrl] = bRedirected;
  }
  // At any time, or before this process began (Settings().bKnownServer).
  bool HasServed(const std::string& strUrl) const;
  // The last time, and by itself.
  bool HasServedItself(const std::string& strUrl) const;

 private:
  virtual HttpResponse DoSend(const HttpRequest& objRequest) = 0;

  std::map<std::string, std::chrono::steady_clock::time_point> m_mapOutages;  // by host
  std::map<std::string, bool> m_mapServed;  // by address, whether it sends elsewhere
};

// The process's transport: one connection pool for all requests, unless a ScopedTransport stands.
EwsTransport& Transport();

// Puts another transport in the place of the process's own while it lives.
class ScopedTransport {
 public:
  explicit ScopedTransport(EwsTransport& objTransport);
  ~ScopedTransport();
  ScopedTransport(const ScopedTransport&) = delete;
  ScopedTransport& operator=(const ScopedTransport&) = delete;

 private:
  EwsTransport* m_pPrevious;
};

// Sends a request and follows up to kMaxRedirects redirections, method and body kept. To an address
// of which fnTrusted says no a request goes on without credentials, and one with a secret body not
// at all. Throws as Send does, and for a redirection that is not followed. Nobody has carried out
// such a request, but with the safe switch one that is sent once and was out whole: who redirects
// it may stand in front of a server that got it. For the same reason such a one is not followed
// from an address that has answered itself before.
HttpResponse SendFollowingRedirects(EwsTransport& objTransport, HttpRequest objRequest,
                                    const std::function<bool(const std::string&)>& fnTrusted);

}  // namespace ews
