#include "ews/Autodiscover.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/SoapWriter.h"
#include "ews/Url.h"
#include "ews/XmlNames.h"

namespace ews {
namespace {

using std::chrono::milliseconds;

constexpr std::string_view kPath = "/autodiscover/autodiscover.xml";

// The public service's own hosts, which hold the mailboxes of many domains.
constexpr std::array<std::string_view, 3> kPublicHosts{
    "outlook.office365.com", "autodiscover-s.outlook.com", "autodiscover.outlook.com"};

std::string TextOf(pugi::xml_node objParent, std::string_view strName) {
  std::string_view strText = Child(objParent, strName).child_value();
  constexpr std::string_view kBlanks = " \t\r\n";
  const size_t nFirst = strText.find_first_not_of(kBlanks);
  if (nFirst == std::string_view::npos) return {};
  return std::string(strText.substr(nFirst, strText.find_last_not_of(kBlanks) - nFirst + 1));
}

// The endpoint for clients outside is preferred to the one inside.
std::string EndpointOf(pugi::xml_node objAccount) {
  for (const std::string_view strType : {"EXPR", "EXCH", ""}) {
    for (const pugi::xml_node objProtocol : objAccount.children()) {
      if (LocalName(objProtocol) != "Protocol") continue;
      if (!strType.empty() && TextOf(objProtocol, "Type") != strType) continue;
      for (const std::string_view strElement : {"EwsUrl", "ASUrl"}) {
        std::string strUrl = TextOf(objProtocol, strElement);
        if (!strUrl.empty()) return strUrl;
      }
    }
  }
  return {};
}

PoxAnswer Failure(std::string strText) { return {PoxAnswer::Kind::kError, std::move(strText)}; }

std::string DomainOf(std::string_view strAddress) {
  const size_t nAt = strAddress.rfind('@');
  const std::string strDomain(nAt == std::string_view::npos ? std::string_view()
                                                            : strAddress.substr(nAt + 1));
  const auto objUrl = ParseUrl("https://" + strDomain + "/");
  // Anything but a host alone, such as a path or a port, would make the address ask elsewhere.
  return objUrl && EqualHost(objUrl->strHost, strDomain) ? objUrl->strHost : std::string();
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
        m_nTimeout(std::max(nTimeout, 1)),
        m_fnCallback(fnCallback) {}

  std::string Run();

 private:
  std::optional<std::string> TryAddress();
  std::optional<std::string> TryUrl(std::string strUrl);
  std::optional<std::string> TryHttpRedirect(const std::string& strDomain);
  std::optional<PoxAnswer> Post(const std::string& strUrl);
  bool IsTrusted(const std::string& strUrl) const;
  bool Allows(const std::string& strUrl) const;
  bool Follows(const std::string& strUrl);
  void CountRedirect();
  void Note(int nRank, std::string strReason);

  CString m_strAddress;
  const Credentials& m_objCredentials;
  int m_nTimeout;
  const RedirectionCallback& m_fnCallback;
  int m_nRedirects = 0;
  bool m_bAddressChanged = false;
  // The reason that says most: a refused password outranks a host that does not exist.
  int m_nRank = -1;
  std::string m_strReason;
};

enum Rank { kUnreachable, kHttpStatus, kNotTrusted, kServerText, kRefused };

std::string Discovery::Run() {
  do {
    m_bAddressChanged = false;
    if (auto strUrl = TryAddress()) return *strUrl;
  } while (m_bAddressChanged);
  throw ServiceException("The mailbox server for '" + m_strAddress.ToUtf8() +
                         "' was not found by autodiscovery. " + m_strReason);
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
    auto strFound = TryUrl(strUrl);
    if (strFound || m_bAddressChanged) return strFound;
  }
  return strDomain.empty() ? std::nullopt : TryHttpRedirect(strDomain);
}

// Follows redirections to other URLs; one to another mail address starts the discovery again.
std::optional<std::string> Discovery::TryUrl(std::string strUrl) {
  while (true) {
    const auto objAnswer = Post(strUrl);
    if (!objAnswer) return std::nullopt;
    switch (objAnswer->eKind) {
      case PoxAnswer::Kind::kError:
        Note(kServerText, objAnswer->strValue);
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
  HttpRequest objRequest;
  objRequest.strMethod = "GET";
  objRequest.strUrl = "http://autodiscover." + strDomain + std::string(kPath);
  objRequest.nTimeout = milliseconds(m_nTimeout);
  try {
    const HttpResponse objResponse = Transport().Send(objRequest);
    if (objResponse.nStatus < 300 || objResponse.nStatus > 399) return std::nullopt;
    const std::string strUrl = ResolveUrl(objRequest.strUrl, objResponse.Header("Location"));
    const auto objUrl = ParseUrl(strUrl);
    if (!objUrl || !objUrl->IsHttps() || !Follows(strUrl)) return std::nullopt;
    return TryUrl(strUrl);
  } catch (const ServiceException& e) {
    Note(kUnreachable, e.what());
    return std::nullopt;
  }
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
  objRequest.nTimeout = milliseconds(m_nTimeout);
  try {
    const HttpResponse objResponse =
        SendFollowingRedirects(Transport(), objRequest, [&](const std::string& strTo) {
          if (!Allows(strTo)) throw ServiceException("A redirection was refused.");
          return IsTrusted(strTo);
        });
    if (objResponse.nStatus == 200) return ReadPoxAnswer(objResponse.strBody);
    Note(objResponse.nStatus == 401 ? kRefused : kHttpStatus, HttpFailureText(strUrl, objResponse));
  } catch (const ServiceException& e) {
    Note(kUnreachable, e.what());
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
  if (std::find(kPublicHosts.begin(), kPublicHosts.end(), strHost) != kPublicHosts.end()) {
    return true;
  }
  return std::any_of(objSettings.arrTrustHosts.begin(), objSettings.arrTrustHosts.end(),
                     [&](const CString& str) { return EqualHost(str.ToUtf8(), strHost); });
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

void Discovery::Note(int nRank, std::string strReason) {
  if (nRank <= m_nRank) return;
  m_nRank = nRank;
  m_strReason = std::move(strReason);
}

}  // namespace

PoxAnswer ReadPoxAnswer(std::string_view strXml) {
  pugi::xml_document objDocument;
  if (!LoadXml(objDocument, strXml)) return Failure("The answer is no autodiscovery answer.");
  const pugi::xml_node objResponse = Child(Child(objDocument, "Autodiscover"), "Response");
  if (const pugi::xml_node objError = Child(objResponse, "Error")) {
    return Failure("The server answered: " + TextOf(objError, "Message") + " (" +
                   TextOf(objError, "ErrorCode") + ").");
  }
  const pugi::xml_node objAccount = Child(objResponse, "Account");
  const std::string strAction = TextOf(objAccount, "Action");
  PoxAnswer objAnswer;
  if (strAction == "settings") {
    objAnswer = {PoxAnswer::Kind::kSettings, EndpointOf(objAccount)};
  } else if (strAction == "redirectAddr") {
    objAnswer = {PoxAnswer::Kind::kRedirectAddress, TextOf(objAccount, "RedirectAddr")};
  } else if (strAction == "redirectUrl") {
    objAnswer = {PoxAnswer::Kind::kRedirectUrl, TextOf(objAccount, "RedirectUrl")};
  }
  if (objAnswer.strValue.empty()) return Failure("The answer names no endpoint.");
  return objAnswer;
}

std::string WritePoxRequest(const CString& strAddress) {
  if (!IsXmlText(strAddress)) {
    throw ServiceException("The invalid value '" + strAddress.ToUtf8() +
                           "' was specified for the 'EMailAddress' element.");
  }
  constexpr const char* kSchema = "http://schemas.microsoft.com/exchange/autodiscover/outlook/";
  pugi::xml_document objDocument;
  pugi::xml_node objRoot = objDocument.append_child("Autodiscover");
  objRoot.append_attribute("xmlns").set_value(
      (kSchema + std::string("requestschema/2006")).c_str());
  pugi::xml_node objRequest = objRoot.append_child("Request");
  objRequest.append_child("EMailAddress").text().set(strAddress.ToUtf8().c_str());
  objRequest.append_child("AcceptableResponseSchema")
      .text()
      .set((kSchema + std::string("responseschema/2006a")).c_str());
  std::ostringstream objStream;
  objDocument.save(objStream, "", pugi::format_raw, pugi::encoding_utf8);
  return objStream.str();
}

CString DiscoverEndpoint(const CString& strAddress, const Credentials& objCredentials, int nTimeout,
                         const RedirectionCallback& fnCallback) {
  if (!Settings().strEwsUrl.IsEmpty()) return Settings().strEwsUrl;
  Discovery objDiscovery(strAddress, objCredentials, nTimeout, fnCallback);
  return CString::FromUtf8(objDiscovery.Run());
}

}  // namespace ews

bool Device::RedirectionUrlValidationCallback(const CString&) { return m_redirectionValidated; }
