#include "ews/Handshake.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "ews/HttpFailure.h"
#include "ews/KerberosTicket.h"
#include "ews/ServiceException.h"
#include "ews/Url.h"
#include "platform/Unicode.h"

namespace ews {
namespace {

// True if a refusing answer offers that way to log on. Offers come in headers of their own or
// separated by commas, with parameters behind a blank.
bool Offers(const HttpResponse& objResponse, std::string_view strScheme) {
  for (const auto& [strName, strValue] : objResponse.arrHeaders) {
    if (!EqualHost(strName, "WWW-Authenticate")) continue;
    for (size_t nFrom = 0; nFrom < strValue.size();) {
      nFrom = std::min(strValue.find_first_not_of(" ,", nFrom), strValue.size());
      const size_t nEnd = std::min(strValue.find_first_of(" ,", nFrom), strValue.size());
      if (EqualHost(std::string_view(strValue).substr(nFrom, nEnd - nFrom), strScheme)) return true;
      nFrom = std::min(strValue.find(',', nEnd), strValue.size());
    }
  }
  return false;
}

// The proof takes a user's name in capitals, of which libcurl knows those of ASCII alone: other
// letters are given to it as capitals. The domain before the name goes into the proof as it is.
CString NtlmUser(const CString& strUser) {
  std::u16string str(strUser.View());
  const size_t nSeparator = str.find(str.find(u'\\') == str.npos ? u'/' : u'\\');
  for (size_t i = nSeparator == str.npos ? 0 : nSeparator + 1; i < str.size(); ++i) {
    if (str[i] > 0x7F) str[i] = platform::UpperUnit(str[i]);
  }
  return CString(str);
}

// libcurl's handshake makes 16-bit units of bytes one to one.
std::optional<std::string> ForNtlm(const CString& str) {
  std::string strBytes;
  for (const char16_t ch : str.View()) {
    if (ch > 0xFF) return std::nullopt;
    strBytes += static_cast<char>(ch);
  }
  return strBytes;
}

// Why there is no such logon for this user; empty where there is one.
std::string KerberosObstacle(const WebCredentials& objUser) {
  const auto strHolder = KerberosTicketHolder();
  if (!strHolder) return " It asks for a Kerberos logon, and there is no ticket here.";
  if (IsTicketOf(*strHolder, objUser.User().ToUtf8())) return {};
  return " It asks for a Kerberos logon, and the ticket here is that of " + *strHolder + ".";
}

std::string NtlmObstacle(const WebCredentials& objUser) {
  if (ForNtlm(NtlmUser(objUser.User())) && ForNtlm(objUser.Password())) return {};
  return " It asks for an NTLM logon, which is not possible here with a user name in capitals "
         "or a password that holds characters beyond Latin-1.";
}

struct Way {
  Handshake eHandshake;
  std::string_view strScheme;
  std::string (*pObstacle)(const WebCredentials&);
};
constexpr Way kWays[] = {{Handshake::kKerberos, "Negotiate", &KerberosObstacle},
                         {Handshake::kNtlm, "NTLM", &NtlmObstacle}};

}  // namespace

std::vector<Handshake> HandshakesFor(const HttpResponse& objRefusal, const WebCredentials& objUser,
                                     const std::string& strUrl) {
  std::vector<Handshake> arrFound;
  if (Offers(objRefusal, "Basic")) return arrFound;
  std::string strObstacles;
  for (const Way& objWay : kWays) {
    if (!Offers(objRefusal, objWay.strScheme)) continue;
    const std::string strObstacle = objWay.pObstacle(objUser);
    if (strObstacle.empty()) arrFound.push_back(objWay.eHandshake);
    strObstacles += strObstacle;
  }
  if (arrFound.empty() && !strObstacles.empty()) {
    Failure objFailure = FailureOfStatus(objRefusal);
    objFailure.bNoHandshake = true;
    throw ServiceException(WithLogonRefused(HttpFailureText(strUrl, objRefusal) + strObstacles),
                           objFailure);
  }
  return arrFound;
}

void SetHandshake(CURL* pCurl, Handshake eHandshake, const WebCredentials& objUser) {
  if (eHandshake == Handshake::kKerberos) {
    curl_easy_setopt(pCurl, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_NEGOTIATE));
    curl_easy_setopt(pCurl, CURLOPT_USERPWD, ":");  // the ticket says who it is
  } else if (eHandshake == Handshake::kNtlm) {
    curl_easy_setopt(pCurl, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_NTLM));
    curl_easy_setopt(pCurl, CURLOPT_USERNAME,
                     ForNtlm(NtlmUser(objUser.User())).value_or("").c_str());
    curl_easy_setopt(pCurl, CURLOPT_PASSWORD, ForNtlm(objUser.Password()).value_or("").c_str());
  }
}

}  // namespace ews
