#include "ews/Connection.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "ews/EwsTransport.h"
#include "ews/HttpFailure.h"
#include "ews/Outage.h"
#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/Url.h"
#include "platform/Files.h"

namespace ConnectionDLL {
namespace {

constexpr std::chrono::minutes kLeastLifetime{5};
constexpr int kUnauthorized = 401;
constexpr long long kMaxLifetimeSeconds = 7 * 24 * 3600;
constexpr size_t kMaxTokenAnswerBytes = 256 * 1024;

struct Token {
  std::string strToken;
  std::chrono::steady_clock::time_point nExpires;
};

// Tokens of the process by the request that brought them.
std::map<std::string, Token>& Cache() {
  static std::map<std::string, Token> mapTokens;
  return mapTokens;
}

// A registered application of a tenant.
struct Application {
  const CString& strTenantId;
  const CString& strClientId;
  const CString& strClientSecret;
};

struct TokenRequest {
  std::string strUrl;
  std::string strForm;
};

// For a token that is good at the host of that address.
TokenRequest MakeRequest(const Application& objApplication, const CString& strResourceUrl) {
  const auto objResource = ews::ParseUrl(strResourceUrl.ToUtf8());
  if (!objResource) throw ews::ServiceException("The endpoint is no http or https address.");
  std::string strAuthority = ews::Settings().strAuthorityUrl.ToUtf8();
  while (strAuthority.ends_with('/')) strAuthority.pop_back();
  return {strAuthority + "/" + ews::UrlEscape(objApplication.strTenantId.ToUtf8()) +
              "/oauth2/v2.0/token",
          "client_id=" + ews::UrlEscape(objApplication.strClientId.ToUtf8()) +
              "&client_secret=" + ews::UrlEscape(objApplication.strClientSecret.ToUtf8()) +
              "&grant_type=client_credentials&scope=" +
              ews::UrlEscape(objResource->SchemeAndHost() + "/.default")};
}

ews::HttpResponse Ask(const TokenRequest& objToken) {
  ews::RequestBody objBody(objToken.strForm);
  ews::HttpRequest objRequest;
  objRequest.strUrl = objToken.strUrl;
  objRequest.arrHeaders = {{"Content-Type", "application/x-www-form-urlencoded"},
                           {"Accept", "application/json"}};
  objRequest.bSecretBody = true;
  objRequest.pBody = &objBody;
  const auto objOwn = ews::ParseUrl(objToken.strUrl);
  return ews::SendFollowingRedirects(ews::Transport(), std::move(objRequest),
                                     [&](const std::string& strTo) {
                                       const auto objTo = ews::ParseUrl(strTo);
                                       return objOwn && objTo && objOwn->SameOrigin(*objTo);
                                     });
}

std::string TextOf(const nlohmann::json& objJson, const char* pszKey) {
  const auto it = objJson.find(pszKey);
  return it != objJson.end() && it->is_string() ? it->get<std::string>() : std::string();
}

// How long a token lives. A server may write any number, and one that no long long holds must not
// be converted before it is clamped.
std::chrono::seconds LifetimeOf(const nlohmann::json& objJson) {
  const auto it = objJson.find("expires_in");
  if (it == objJson.end() || !it->is_number()) return std::chrono::seconds(0);
  const double nSeconds = it->get<double>();
  return std::chrono::seconds(
      static_cast<long long>(std::clamp(nSeconds, 0.0, static_cast<double>(kMaxLifetimeSeconds))));
}

Token ReadAnswer(const TokenRequest& objRequest, const ews::HttpResponse& objResponse) {
  // What is larger holds no token, and as a tree takes many times its size.
  const bool bTooLarge = objResponse.strBody.size() > kMaxTokenAnswerBytes;
  const auto objJson = nlohmann::json::parse(bTooLarge ? std::string() : objResponse.strBody,
                                             nullptr, /*allow_exceptions=*/false);
  if (objJson.is_object()) {
    const std::string strToken = TextOf(objJson, "access_token");
    if (objResponse.nStatus == 200 && !strToken.empty()) {
      return {strToken, ews::Transport().Now() + LifetimeOf(objJson)};
    }
    std::string strReason = TextOf(objJson, "error_description");
    if (strReason.empty()) strReason = TextOf(objJson, "error");
    if (!strReason.empty()) {
      ews::Failure objFailure = ews::FailureOfStatus(objResponse);
      objFailure.bForeign = false;
      throw ews::ServiceException(strReason, objFailure);
    }
  }
  if (objResponse.nStatus == 200) {
    ews::Failure objFailure;
    objFailure.bForeign = !objJson.is_object();  // a page for people
    throw ews::ServiceException("The request failed. The answer of the server " +
                                    ews::HostForMessage(objRequest.strUrl) + " holds no token.",
                                objFailure);
  }
  throw ews::ServiceException(ews::HttpFailureText(objRequest.strUrl, objResponse),
                              ews::FailureOfStatus(objResponse));
}

// An address that has given a token is no wrong one: see ExchangeService::SendAndJudge.
Token AskForToken(const TokenRequest& objRequest) {
  auto& objTransport = ews::Transport();
  try {
    Token objToken = ReadAnswer(objRequest, Ask(objRequest));
    objTransport.NoteServed(objRequest.strUrl, /*bRedirected=*/false);
    return objToken;
  } catch (const ews::ServiceException& e) {
    ews::Failure objFailure = e.Cause();
    const bool bKnown = ews::Settings().bSafe && objTransport.HasServed(objRequest.strUrl);
    objFailure.bOutage = objFailure.bOutage || (objFailure.bForeign && bKnown);
    throw ews::ServiceException(e.what(), objFailure);
  }
}

enum class From { kCacheOrServer, kServer };

std::string GetToken(const TokenRequest& objRequest, From eFrom) {
  const std::string strKey = objRequest.strUrl + "\n" + objRequest.strForm;
  if (eFrom == From::kServer) {
    Cache().erase(strKey);
  } else if (ews::Settings().bTokenCache) {
    const auto it = Cache().find(strKey);
    if (it != Cache().end() && it->second.nExpires - ews::Transport().Now() > kLeastLifetime) {
      return it->second.strToken;
    }
  }
  const ews::Outage objOutage(ews::Transport(), ews::HostForMessage(objRequest.strUrl),
                              ews::HttpRequest().nTimeout, ews::Outage::Repeat::kAlways);
  Token objToken =
      ews::WaitOut(objOutage, [&](std::chrono::milliseconds) { return AskForToken(objRequest); });
  if (ews::Settings().bTokenCache) Cache()[strKey] = objToken;
  return objToken.strToken;
}

TokenRequest MailboxToken(const Application& objApplication) {
  return MakeRequest(objApplication, ews::Settings().TokenRouteUrl());
}

// Written beside its name and put there whole. Throws.
void WriteWhole(const CString& strFile, const std::string& strText) {
  const CString strPart = strFile + u".part";
  bool bWritten = false;
  if (auto objFile = platform::File::Open(strPart, platform::OpenMode::kCreate)) {
    bWritten =
        objFile->Write({reinterpret_cast<const unsigned char*>(strText.data()), strText.size()});
  }
  if (bWritten && platform::RenameFile(strPart, strFile)) return;
  const std::string strReason = std::strerror(errno);
  (void)platform::DeleteFileAt(strPart);
  throw ews::ServiceException("The list could not be written: " + strReason + ".");
}

}  // namespace

CString Connection::GetAccessToken(CString& strTenantId, CString& strClientId,
                                   CString& strClientSecret, CString& strError) {
  try {
    return CString::FromUtf8(
        GetToken(MailboxToken({strTenantId, strClientId, strClientSecret}), From::kCacheOrServer));
  } catch (const ews::ServiceException& e) {
    m_objFailure = e.Cause();
    strError = CString::FromUtf8(e.what());
  } catch (const std::exception& e) {
    strError = CString::FromUtf8(e.what());
  } catch (...) {  // nothing may pass: the caller has no handler
    strError = u"The request failed.";
  }
  return {};
}

void Connection::GetOneDriveUsers(CString& strTenantId, CString& strClientId,
                                  CString& strClientSecret, CString& strOutputFile) {
  WriteList(ews::DirectoryList::kUsers, strTenantId, strClientId, strClientSecret, strOutputFile);
}

void Connection::GetUnifiedGroupList(CString& strTenantId, CString& strClientId,
                                     CString& strClientSecret, CString& strOutputFile) {
  WriteList(ews::DirectoryList::kGroups, strTenantId, strClientId, strClientSecret, strOutputFile);
}

void Connection::WriteList(ews::DirectoryList eList, const CString& strTenantId,
                           const CString& strClientId, const CString& strClientSecret,
                           const CString& strOutputFile) {
  m_strListError.Empty();
  try {
    (void)platform::DeleteFileAt(strOutputFile);  // what is there at the end is this list
    WriteWhole(strOutputFile,
               ews::DirectoryText(ListDirectory(eList, strTenantId, strClientId, strClientSecret)));
  } catch (const std::exception& e) {
    m_strListError = CString::FromUtf8(e.what());
  } catch (...) {  // nothing may pass: the caller has no handler
    m_strListError = u"The request failed.";
  }
}

ews::OAuthCredentials NewToken(const CString& strTenantId, const CString& strClientId,
                               const CString& strClientSecret) {
  return ews::OAuthCredentials(CString::FromUtf8(
      GetToken(MailboxToken({strTenantId, strClientId, strClientSecret}), From::kServer)));
}

std::vector<ews::DirectoryEntry> ListDirectory(ews::DirectoryList eList, const CString& strTenantId,
                                               const CString& strClientId,
                                               const CString& strClientSecret) {
  const TokenRequest objRequest =
      MakeRequest({strTenantId, strClientId, strClientSecret}, ews::Settings().strGraphUrl);
  const auto List = [&](const std::string& strToken) {
    return ews::ReadDirectoryList(eList, ews::OAuthCredentials(CString::FromUtf8(strToken)));
  };
  const std::string strToken = GetToken(objRequest, From::kCacheOrServer);
  try {
    return List(strToken);
  } catch (const ews::ServiceException& e) {
    if (e.Cause().nHttpStatus != kUnauthorized) throw;
  }
  return List(GetToken(objRequest, From::kServer));  // it may have run out behind the first pages
}

}  // namespace ConnectionDLL
