#include "ews/Url.h"

#include <algorithm>
#include <memory>

#include <curl/curl.h>

namespace ews {
namespace {

struct UrlDeleter {
  void operator()(CURLU* p) const { curl_url_cleanup(p); }
};
using UrlHandle = std::unique_ptr<CURLU, UrlDeleter>;

std::string Part(CURLU* pUrl, CURLUPart ePart, unsigned nFlags = 0) {
  char* pszPart = nullptr;
  if (curl_url_get(pUrl, ePart, &pszPart, nFlags) != CURLUE_OK || !pszPart) return {};
  const std::unique_ptr<char, decltype(&curl_free)> pGuard(pszPart, &curl_free);
  return pszPart;
}

std::string LowerAscii(std::string str) {
  std::transform(str.begin(), str.end(), str.begin(), [](char ch) {
    return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch;
  });
  return str;
}

UrlHandle Parse(std::string_view strUrl) {
  UrlHandle pUrl(curl_url());
  if (!pUrl) return nullptr;
  const bool bParsed =
      curl_url_set(pUrl.get(), CURLUPART_URL, std::string(strUrl).c_str(), 0) == CURLUE_OK;
  return bParsed ? std::move(pUrl) : nullptr;
}

// False for a host that would be another one ("%327" is 27, which is 0.0.0.27) to whoever reads the
// URL as it is written out.
bool IsHostStable(CURLU* pUrl) {
  const UrlHandle pAgain = Parse(Part(pUrl, CURLUPART_URL));
  return pAgain && Part(pAgain.get(), CURLUPART_HOST) == Part(pUrl, CURLUPART_HOST);
}

}  // namespace

bool Url::IsLoopback() const {
  if (strHost == "localhost" || strHost == "::1") return true;
  // A name such as 127.example.com is no address: all of it must be digits and dots.
  return strHost.starts_with("127.") &&
         strHost.find_first_not_of("0123456789.") == std::string::npos;
}

std::string Url::SchemeAndHost() const {
  const bool bV6 = strHost.find(':') != std::string::npos;
  return strScheme + "://" + (bV6 ? "[" + strHost + "]" : strHost);
}

bool Url::SameOrigin(const Url& objOther) const {
  return strScheme == objOther.strScheme && strHost == objOther.strHost &&
         strPort == objOther.strPort;
}

std::optional<Url> ParseUrl(std::string_view strUrl) {
  if (strUrl.find('\0') != std::string_view::npos) return std::nullopt;
  const UrlHandle pUrl = Parse(strUrl);
  if (!pUrl || !IsHostStable(pUrl.get())) return std::nullopt;
  Url objUrl;
  objUrl.strScheme = LowerAscii(Part(pUrl.get(), CURLUPART_SCHEME));
  objUrl.strHost = LowerAscii(Part(pUrl.get(), CURLUPART_HOST));
  objUrl.strPort = Part(pUrl.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT);
  objUrl.strPath = Part(pUrl.get(), CURLUPART_PATH);
  if (objUrl.strHost.starts_with('[') && objUrl.strHost.ends_with(']')) {
    objUrl.strHost = objUrl.strHost.substr(1, objUrl.strHost.size() - 2);
  }
  const bool bHttp = objUrl.strScheme == "http" || objUrl.strScheme == "https";
  const bool bUser = !Part(pUrl.get(), CURLUPART_USER).empty();
  if (!bHttp || bUser || objUrl.strHost.empty()) return std::nullopt;
  return objUrl;
}

std::string ResolveUrl(std::string_view strBase, std::string_view strLocation) {
  if (strLocation.empty() || strLocation.find('\0') != std::string_view::npos) return {};
  const UrlHandle pUrl = Parse(strBase);
  if (!pUrl) return {};
  if (curl_url_set(pUrl.get(), CURLUPART_URL, std::string(strLocation).c_str(), 0) != CURLUE_OK) {
    return {};
  }
  std::string strUrl = Part(pUrl.get(), CURLUPART_URL);
  return ParseUrl(strUrl) ? strUrl : std::string();
}

std::string HostForMessage(std::string_view strUrl) {
  const auto objUrl = ParseUrl(strUrl);
  if (!objUrl) return "an address that cannot be read";
  return objUrl->strHost;
}

std::string UrlEscape(std::string_view strText) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string strResult;
  for (const char ch : strText) {
    const auto nByte = static_cast<unsigned char>(ch);
    const bool bPlain = (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') ||
                        (ch >= '0' && ch <= '9') ||
                        std::string_view("-._~").find(ch) != std::string_view::npos;
    if (bPlain) {
      strResult += ch;
    } else {
      strResult += {'%', kHex[nByte >> 4], kHex[nByte & 15]};
    }
  }
  return strResult;
}

bool EqualHost(std::string_view a, std::string_view b) {
  return LowerAscii(std::string(a)) == LowerAscii(std::string(b));
}

bool IsHostOfDomain(std::string_view strHost, std::string_view strDomain) {
  if (strDomain.empty()) return false;
  const std::string strEnd = "." + LowerAscii(std::string(strDomain));
  return EqualHost(strHost, strDomain) || LowerAscii(std::string(strHost)).ends_with(strEnd);
}

}  // namespace ews
