#include "ews/Autodiscover.h"

#include <algorithm>
#include <array>

#include "ews/HttpFailure.h"
#include "ews/Outage.h"
#include "ews/PoxMessages.h"
#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/Url.h"
#include "platform/DomainName.h"

namespace ews {
namespace {

using std::chrono::milliseconds;

// Whoever is asked first need not be there at all, and then the others wait for it.
constexpr milliseconds kStepTime{10000};
constexpr size_t kMaxServers = 3;  // of those that a domain's service records name

constexpr std::string_view kPath = "/autodiscover/autodiscover.xml";

// The public service's own hosts, which hold the mailboxes of many domains.
constexpr std::array<std::string_view, 3> kPublicHosts{
    "outlook.office365.com", "autodiscover-s.outlook.com", "autodiscover.outlook.com"};

// The name of a host, or "": anything but a host alone, such as a path or a port, would make an
// address ask elsewhere.
std::string HostAlone(const std::string& strHost) {
  const auto objUrl = ParseUrl("https://" + strHost + "/");
  return objUrl && EqualHost(objUrl->strHost, strHost) ? objUrl->strHost : std::string();
}

std::string DomainOf(std::string_view strAddress) {
  const size_t nAt = strAddress.rfind('@');
  if (nAt == std::string_view::npos) return {};
  return HostAlone(platform::AsciiDomain(strAddress.substr(nAt + 1)));
}

std::string UrlOf(const SrvRecord& objServer) {
  const std::string strHost = HostAlone(objServer.strHost);
  if (strHost.empty()) return {};
  const std::string strPort = objServer.nPort == 443 ? "" : ":" + std::to_string(objServer.nPort);
  return "https://" + strHost + strPort + std::string(kPath);
}

bool IsHostOfSetting(const CString& strUrl, std::string_view strHost) {
  const auto objUrl = ParseUrl(strUrl.ToUtf8());
  return objUrl && objUrl->strHost == strHost;
}

// One discovery: the way from a mail address to its endpoint.
class Discovery {
 public:
  Discovery(CString strAddress, const Credentials& objCredentials, int nTimeout,
            const RedirectionCallback& fnCallback)
      : m_strAddress(std::move(strAddress)),
        m_objCredentials(objCredentials),
        m_nStepTime(std::clamp(milliseconds(nTimeout), milliseconds(1), kStepTime)),
        m_fnCallback(fnCallback) {}

  std::string Run();

 private:
  std::optional<std::string> TryAddress();
  std::optional<std::string> TryUrl(std::string strUrl);
  std::optional<std::string> TryStep(const std::string& strUrl);
  std::optional<std::string> TryHttpRedirect(const std::string& strDomain);
  std::optional<std::string> TryServiceRecords(const std::string& strDomain);
  std::optional<PoxAnswer> Post(const std::string& strUrl);
  bool IsTrusted(const std::string& strUrl) const;
  bool Allows(const std::string& strUrl) const;
  bool Follows(const std::string& strUrl);
  void CountRedirect();
  milliseconds TimeLeft() const;
  std::string Reason() const;
  void Note(int nRank, std::string strReason, const Failure& objFailure = {});

  CString m_strAddress;
  const Credentials& m_objCredentials;
  milliseconds m_nStepTime;
  std::chrono::steady_clock::time_point m_nStepEnd;
  const RedirectionCallback& m_fnCallback;
  int m_nRedirects = 0;
  bool m_bAddressChanged = false;
  // The reason that says most: a refused password outranks a host that does not exist.
  int m_nRank = -1;
  std::string m_strReason;
  std::string m_strLastReason;
  bool m_bOutage = false;   // a host that was asked may answer later
  bool m_bMayPass = false;  // or give another answer
};

enum Rank { kUnreachable, kHttpStatus, kNotTrusted, kServerText, kRefused };

std::string Discovery::Run() {
  do {
    m_bAddressChanged = false;
    if (auto strUrl = TryAddress()) return *strUrl;
  } while (m_bAddressChanged);
  Failure objFailure;
  objFailure.bOutage = m_bOutage && m_nRank <= kHttpStatus;  // nobody has said anything final
  objFailure.bMayPass = m_bMayPass && m_nRank <= kHttpStatus;
  throw ServiceException("The mailbox server for '" + m_strAddress.ToUtf8() +
                             "' was not found by autodiscovery. " + Reason(),
                         objFailure);
}

std::optional<std::string> Discovery::TryAddress() {
  const std::string strDomain = DomainOf(m_strAddress.ToUtf8());
  std::vector<std::string> arrUrls;
  if (!Settings().strAutodiscoverUrl.IsEmpty()) {
    arrUrls.push_back(Settings().strAutodiscoverUrl.ToUtf8());
  }
  if (!strDomain.empty()) {
    arrUrls.push_back("https://" + strDomain + std::string(kPath));
    arrUrls.push_back("https://autodiscover." + strDomain + std::string(kPath));
  } else {
    Note(kUnreachable, "The login is no mail address.");
  }
  for (const std::string& strUrl : arrUrls) {
    auto strFound = TryStep(strUrl);
    if (strFound || m_bAddressChanged) return strFound;
  }
  if (strDomain.empty()) return std::nullopt;
  auto strFound = TryHttpRedirect(strDomain);
  if (strFound || m_bAddressChanged) return strFound;
  return TryServiceRecords(strDomain);
}

std::optional<std::string> Discovery::TryStep(const std::string& strUrl) {
  m_nStepEnd = Transport().Now() + m_nStepTime;
  return TryUrl(strUrl);
}

// Follows redirections to other URLs; one to another mail address starts the discovery again.
std::optional<std::string> Discovery::TryUrl(std::string strUrl) {
  while (true) {
    const auto objAnswer = Post(strUrl);
    if (!objAnswer) return std::nullopt;
    switch (objAnswer->eKind) {
      case PoxAnswer::Kind::kError:
        Note(kServerText, HostForMessage(strUrl) + " " + objAnswer->strValue);
        return std::nullopt;
      case PoxAnswer::Kind::kNothing:  // says no more than that no such server is there
        Note(kUnreachable, HostForMessage(strUrl) + " " + objAnswer->strValue);
        return std::nullopt;
      case PoxAnswer::Kind::kSettings:
        if (IsTrusted(objAnswer->strValue)) return objAnswer->strValue;
        Note(kNotTrusted, HostForMessage(strUrl) + " names the endpoint " +
                              HostForMessage(objAnswer->strValue) + ", which is not trusted.");
        return std::nullopt;
      case PoxAnswer::Kind::kRedirectAddress:
        CountRedirect();
        m_strAddress = CString::FromUtf8(objAnswer->strValue);
        m_bAddressChanged = true;
        return std::nullopt;
      case PoxAnswer::Kind::kRedirectUrl:
        strUrl = ResolveUrl(strUrl, objAnswer->strValue);
        if (!Follows(strUrl)) return std::nullopt;
        break;
    }
  }
}

std::optional<std::string> Discovery::TryHttpRedirect(const std::string& strDomain) {
  m_nStepEnd = Transport().Now() + m_nStepTime;
  HttpRequest objRequest;
  objRequest.strMethod = "GET";
  objRequest.strUrl = "http://autodiscover." + strDomain + std::string(kPath);
  objRequest.nTimeout = m_nStepTime;
  try {
    const HttpResponse objResponse = Transport().Send(objRequest);
    if (objResponse.nStatus < 300 || objResponse.nStatus > 399) {
      Note(kUnreachable, HostForMessage(objRequest.strUrl) + " redirects to no other address.");
      return std::nullopt;
    }
    const std::string strUrl = ResolveUrl(objRequest.strUrl, objResponse.Header("Location"));
    const auto objUrl = ParseUrl(strUrl);
    if (objUrl && objUrl->IsHttps()) return Follows(strUrl) ? TryUrl(strUrl) : std::nullopt;
    Note(kNotTrusted, HostForMessage(objRequest.strUrl) + " redirects to no https address.");
  } catch (const ServiceException& e) {
    Note(kUnreachable, e.what(), e.Cause());
  }
  return std::nullopt;
}

// Who answers for the name service says who is asked, as with any redirection.
std::optional<std::string> Discovery::TryServiceRecords(const std::string& strDomain) {
  std::vector<SrvRecord> arrServers;
  try {
    arrServers = Transport().LookUpService("_autodiscover._tcp." + strDomain, m_nStepTime);
  } catch (const ServiceException& e) {
    Note(kUnreachable, e.what(), e.Cause());
  }
  if (arrServers.size() > kMaxServers) arrServers.resize(kMaxServers);
  for (const SrvRecord& objServer : arrServers) {
    const std::string strUrl = UrlOf(objServer);
    if (strUrl.empty()) Note(kUnreachable, "The name service names no host.");
    if (strUrl.empty() || !Follows(strUrl)) continue;
    auto strFound = TryStep(strUrl);
    if (strFound || m_bAddressChanged) return strFound;
  }
  return std::nullopt;
}

// Nothing when there was no answer to read; the reason is noted then.
std::optional<PoxAnswer> Discovery::Post(const std::string& strUrl) {
  if (!IsTrusted(strUrl)) {
    Note(kNotTrusted, HostForMessage(strUrl) + " is not trusted with credentials.");
    return std::nullopt;
  }
  RequestBody objBody(WritePoxRequest(m_strAddress));
  HttpRequest objRequest;
  objRequest.strUrl = strUrl;
  objRequest.arrHeaders = {{"Content-Type", "text/xml; charset=utf-8"}, {"Accept", "text/xml"}};
  objRequest.objCredentials = m_objCredentials;
  objRequest.pBody = &objBody;
  objRequest.nTimeout = TimeLeft();
  try {
    const HttpResponse objResponse =
        SendFollowingRedirects(Transport(), objRequest, [&](const std::string& strTo) {
          if (!Allows(strTo)) throw ServiceException("A redirection was refused.");
          return IsTrusted(strTo);
        });
    Failure objFailure = FailureOfStatus(objResponse);
    if (objResponse.nStatus == 200) {
      PoxAnswer objAnswer = ReadPoxAnswer(objResponse.strBody);
      if (!objAnswer.bBroken) return objAnswer;
      objFailure.bMayPass = true;
      Note(kHttpStatus, HostForMessage(strUrl) + " " + objAnswer.strValue, objFailure);
      return std::nullopt;
    }
    objFailure.bMayPass = objResponse.nStatus == 400;
    Note(objResponse.nStatus == 401 ? kRefused : kHttpStatus, HttpFailureText(strUrl, objResponse),
         objFailure);
  } catch (const ServiceException& e) {
    Note(e.Cause().nHttpStatus == 401 ? kRefused : kUnreachable, e.what(), e.Cause());
  }
  return std::nullopt;
}

bool Discovery::IsTrusted(const std::string& strUrl) const {
  const auto objUrl = ParseUrl(strUrl);
  if (!objUrl) return false;
  const ServiceSettings& objSettings = Settings();
  if (!objSettings.bVerifyCertificates) return true;
  if (!objUrl->IsHttps()) return false;
  const std::string& strHost = objUrl->strHost;
  if (IsHostOfDomain(strHost, DomainOf(m_strAddress.ToUtf8()))) return true;
  if (IsHostOfSetting(objSettings.strAutodiscoverUrl, strHost)) return true;
  const bool bPublic =
      std::find(kPublicHosts.begin(), kPublicHosts.end(), strHost) != kPublicHosts.end();
  return bPublic || objSettings.TrustsHost(strHost);
}

bool Discovery::Allows(const std::string& strUrl) const {
  return !m_fnCallback || m_fnCallback(CString::FromUtf8(strUrl));
}

bool Discovery::Follows(const std::string& strUrl) {
  CountRedirect();
  if (!strUrl.empty() && Allows(strUrl)) return true;
  Note(kNotTrusted, "A redirection was refused.");
  return false;
}

void Discovery::CountRedirect() {
  if (++m_nRedirects > kMaxRedirects) {
    throw ServiceException("The mailbox server for '" + m_strAddress.ToUtf8() +
                           "' was not found: autodiscovery redirects without end.");
  }
}

milliseconds Discovery::TimeLeft() const {
  const auto nLeft = std::chrono::duration_cast<milliseconds>(m_nStepEnd - Transport().Now());
  return std::max(nLeft, milliseconds(1));
}

// What says most, and what came last where that is another.
std::string Discovery::Reason() const {
  return m_strLastReason == m_strReason ? m_strReason
                                        : m_strReason + " The last attempt: " + m_strLastReason;
}

void Discovery::Note(int nRank, std::string strReason, const Failure& objFailure) {
  m_bOutage = m_bOutage || objFailure.bOutage;
  m_bMayPass = m_bMayPass || objFailure.bMayPass;
  m_strLastReason = strReason;
  if (nRank <= m_nRank) return;
  m_nRank = nRank;
  m_strReason = std::move(strReason);
}

}  // namespace

CString DiscoverEndpoint(const CString& strAddress, const Credentials& objCredentials, int nTimeout,
                         const RedirectionCallback& fnCallback) {
  if (!Settings().strEwsUrl.IsEmpty()) return Settings().strEwsUrl;
  // Not one host of several is waited for, but that any of them answers.
  const Outage objOutage(Transport(), DomainOf(strAddress.ToUtf8()), milliseconds(0),
                         Outage::Repeat::kAlways);
  return WaitOut(objOutage, [&](milliseconds) {
    Discovery objDiscovery(strAddress, objCredentials, nTimeout, fnCallback);
    return CString::FromUtf8(objDiscovery.Run());
  });
}

}  // namespace ews

bool Device::RedirectionUrlValidationCallback(const CString&) { return m_redirectionValidated; }
