#include "ews/DirectoryLists.h"

#include <algorithm>
#include <iterator>

#include <nlohmann/json.hpp>

#include "ews/EwsTransport.h"
#include "ews/HttpFailure.h"
#include "ews/Outage.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/Url.h"

namespace ews {
namespace {

using std::chrono::milliseconds;

constexpr std::string_view kUsersPath =
    "/v1.0/users?$select=displayName,mail,userPrincipalName&$top=999";
constexpr std::string_view kGroupsPath =
    "/v1.0/groups?$filter=groupTypes/any(c:c%20eq%20'Unified')&$select=displayName,mail&$top=999";

// Deeper values are left out while reading: nothing that is looked for lies there, and a hostile
// answer may be nothing but opening brackets.
constexpr int kMaxDepth = 4;

nlohmann::json ParseJson(std::string_view strJson) {
  return nlohmann::json::parse(
      strJson,
      [](int nDepth, nlohmann::json::parse_event_t, nlohmann::json&) {
        return nDepth <= kMaxDepth;
      },
      /*allow_exceptions=*/false);
}

std::string TextOf(const nlohmann::json& objJson, const char* pszKey) {
  if (!objJson.is_object()) return {};
  const auto it = objJson.find(pszKey);
  return it != objJson.end() && it->is_string() ? it->get<std::string>() : std::string();
}

// "" where no page follows. A link that cannot be followed is none of that: the list would look
// whole.
std::string NextUrlOf(const nlohmann::json& objJson) {
  constexpr const char* kNextLink = "@odata.nextLink";
  std::string strUrl = TextOf(objJson, kNextLink);
  if (strUrl.empty() && objJson.contains(kNextLink) && !objJson[kNextLink].is_null()) {
    throw ServiceException(
        "The request failed. The directory's answer names a next page without its address.");
  }
  return strUrl;
}

std::string FirstPageUrl(DirectoryList eList) {
  std::string strUrl = Settings().strGraphUrl.ToUtf8();
  while (strUrl.ends_with('/')) strUrl.pop_back();
  return strUrl.append(eList == DirectoryList::kUsers ? kUsersPath : kGroupsPath);
}

// The directory's own words where it gives some.
std::string RefusalText(const std::string& strUrl, const HttpResponse& objResponse) {
  const nlohmann::json objJson = objResponse.strBody.size() <= kMaxDirectoryPageBytes
                                     ? ParseJson(objResponse.strBody)
                                     : nlohmann::json();
  const auto it = objJson.is_object() ? objJson.find("error") : objJson.end();
  const std::string strWords = it != objJson.end() ? TextOf(*it, "message") : std::string();
  if (strWords.empty()) return HttpFailureText(strUrl, objResponse);
  return "The directory answered: " + WithoutStop(strWords) + " (" + TextOf(*it, "code") + ").";
}

DirectoryPage AskForPage(const std::string& strUrl, const OAuthCredentials& objCredentials,
                         milliseconds nTimeout) {
  HttpRequest objRequest;
  objRequest.strMethod = "GET";
  objRequest.strUrl = strUrl;
  objRequest.arrHeaders = {{"Accept", "application/json"}};
  objRequest.objCredentials = objCredentials;
  objRequest.nTimeout = nTimeout;
  const auto objOwn = ParseUrl(strUrl);
  const HttpResponse objResponse =
      SendFollowingRedirects(Transport(), objRequest, [&](const std::string& strTo) {
        const auto objTo = ParseUrl(strTo);
        return objOwn && objTo && objOwn->SameOrigin(*objTo);
      });
  if (objResponse.nStatus != 200) {
    throw ServiceException(RefusalText(strUrl, objResponse), FailureOfStatus(objResponse));
  }
  return ReadDirectoryPage(objResponse.strBody);
}

// The token goes to the directory alone, whatever address an answer names.
void RequireOwnPage(const std::string& strOwn, const std::string& strNext) {
  const auto objOwn = ParseUrl(strOwn);
  const auto objNext = ParseUrl(strNext);
  if (objOwn && objNext && objOwn->SameOrigin(*objNext)) return;
  throw ServiceException("The request failed. The directory " + HostForMessage(strOwn) +
                         " names a next page elsewhere, at " + HostForMessage(strNext) + ".");
}

size_t BytesOf(const std::vector<DirectoryEntry>& arrEntries) {
  size_t n = arrEntries.size() * sizeof(DirectoryEntry);
  for (const DirectoryEntry& obj : arrEntries) n += obj.strName.size() + obj.strAddress.size();
  return n;
}

void AppendField(std::string& strText, const std::string& strField) {
  std::transform(strField.begin(), strField.end(), std::back_inserter(strText), [](char ch) {
    return static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F ? ' ' : ch;
  });
}

}  // namespace

DirectoryPage ReadDirectoryPage(std::string_view strJson) {
  if (strJson.size() > kMaxDirectoryPageBytes) {
    throw ServiceException("The request failed. A page of the directory's list is too large.");
  }
  const nlohmann::json objJson = ParseJson(strJson);
  const auto it = objJson.is_object() ? objJson.find("value") : objJson.end();
  if (it == objJson.end() || !it->is_array()) {
    throw ServiceException("The request failed. The directory's answer holds no list.");
  }
  DirectoryPage objPage;
  for (const nlohmann::json& objEntry : *it) {
    std::string strAddress = TextOf(objEntry, "mail");
    if (strAddress.empty()) strAddress = TextOf(objEntry, "userPrincipalName");
    if (strAddress.empty()) continue;
    objPage.arrEntries.push_back({TextOf(objEntry, "displayName"), std::move(strAddress)});
  }
  objPage.strNextUrl = NextUrlOf(objJson);
  return objPage;
}

std::vector<DirectoryEntry> ReadDirectoryList(DirectoryList eList,
                                              const OAuthCredentials& objCredentials) {
  const std::string strFirst = FirstPageUrl(eList);
  std::string strUrl = strFirst;
  std::vector<DirectoryEntry> arrEntries;
  size_t nBytes = 0;
  for (size_t nPages = 0; !strUrl.empty(); ++nPages) {
    if (nPages == kMaxDirectoryPages || nBytes > kMaxDirectoryBytes) {
      throw ServiceException("The request failed. The directory's list has no end.");
    }
    const Outage objOutage(Transport(), HostForMessage(strUrl), HttpRequest().nTimeout,
                           Outage::Repeat::kAlways);
    DirectoryPage objPage = WaitOut(objOutage, [&](milliseconds nTimeout) {
      return AskForPage(strUrl, objCredentials, nTimeout);
    });
    nBytes += BytesOf(objPage.arrEntries);
    std::move(objPage.arrEntries.begin(), objPage.arrEntries.end(), std::back_inserter(arrEntries));
    strUrl = std::move(objPage.strNextUrl);
    if (!strUrl.empty()) RequireOwnPage(strFirst, strUrl);
  }
  return arrEntries;
}

std::string DirectoryText(const std::vector<DirectoryEntry>& arrEntries) {
  std::string strText;
  for (const DirectoryEntry& objEntry : arrEntries) {
    AppendField(strText, objEntry.strName);
    strText += '\t';
    AppendField(strText, objEntry.strAddress);
    strText += '\n';
  }
  return strText;
}

}  // namespace ews
