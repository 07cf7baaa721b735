#include "archive/UrlText.h"

#include <algorithm>
#include <array>
#include <vector>

#include "base/AsciiText.h"
#include "mime/encoding/HexDigits.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

constexpr std::array<std::string_view, 5> kSchemes = {"http://", "https://", "ftp://", "ws://",
                                                      "wss://"};
constexpr std::array<std::string_view, 5> kPageExtensions = {".htm", ".asp", ".cfm", ".jsp",
                                                             ".php"};

constexpr bool isSchemeChar(char ch) {
  return isAsciiLetter(ch) || (ch >= '0' && ch <= '9') || ch == '+' || ch == '-' || ch == '.';
}

constexpr bool isDigit(char ch) { return ch >= '0' && ch <= '9'; }

// Cuts ":8080" off the end of a host.
void takePort(CrackedUrl& objUrl) {
  const std::size_t nColon = objUrl.strHost.rfind(':');
  if (nColon == kNone) return;
  const std::string_view strPort = std::string_view(objUrl.strHost).substr(nColon + 1);
  if (!std::all_of(strPort.begin(), strPort.end(), isDigit)) return;
  objUrl.strPort = strPort;
  objUrl.strHost.resize(nColon);
}

}  // namespace

std::string CrackedUrl::joined() const {
  return strScheme + strHost + (strPort.empty() ? "" : ":" + strPort) + strPath + strQuery;
}

std::optional<CrackedUrl> crackUrl(std::string_view strUrl) {
  const auto it = std::ranges::find_if(
      kSchemes, [&](std::string_view strScheme) { return beginsWithNoCase(strUrl, strScheme); });
  if (it == kSchemes.end()) return std::nullopt;
  CrackedUrl objUrl;
  objUrl.strScheme = *it;
  strUrl.remove_prefix(it->size());
  const std::size_t nHost = std::min(strUrl.find_first_of("/?#"), strUrl.size());
  objUrl.strHost = strUrl.substr(0, nHost);
  if (objUrl.strHost.empty()) return std::nullopt;
  takePort(objUrl);
  strUrl.remove_prefix(nHost);
  const std::size_t nPath = std::min(strUrl.find('?'), strUrl.size());
  objUrl.strPath = strUrl.substr(0, nPath);
  if (!objUrl.strPath.starts_with('/')) objUrl.strPath.insert(0, 1, '/');
  objUrl.strQuery = strUrl.substr(nPath);
  return objUrl;
}

std::string combineUrl(std::string_view strBase, std::string_view strUrl) {
  const auto objBase = crackUrl(strBase);
  if (!objBase || hasScheme(strUrl)) return std::string(strUrl);
  CrackedUrl objResult = *objBase;
  if (strUrl.starts_with("//")) {
    return objBase->strScheme.substr(0, objBase->strScheme.size() - 2) + std::string(strUrl);
  }
  if (strUrl.starts_with('?') || strUrl.starts_with('#')) {
    objResult.strQuery = strUrl;
    return objResult.joined();
  }
  const std::size_t nPath = std::min(strUrl.find_first_of("?#"), strUrl.size());
  std::string strPath(strUrl.substr(0, nPath));
  if (!strPath.starts_with('/')) {
    strPath.insert(0, objBase->strPath, 0, objBase->strPath.rfind('/') + 1);
  }
  objResult.strPath = withoutDotNames(strPath);
  objResult.strQuery = strUrl.substr(nPath);
  return objResult.joined();
}

std::string withoutDotNames(std::string_view strPath) {
  const bool bAbsolute = strPath.starts_with('/');
  std::vector<std::string_view> arrNames;
  std::size_t nNamed = 0;  // how many of them ".." can take away
  bool bFolder = false;
  for (std::size_t nFrom = bAbsolute ? 1 : 0; nFrom <= strPath.size();) {
    const std::size_t nEnd = std::min(strPath.find('/', nFrom), strPath.size());
    const std::string_view strName = strPath.substr(nFrom, nEnd - nFrom);
    nFrom = nEnd + 1;
    bFolder = strName == "." || strName == "..";
    if (strName == ".." && nNamed > 0) {
      arrNames.pop_back();
      --nNamed;
    } else if (strName == ".." && !bAbsolute) {
      arrNames.push_back(strName);
    } else if (!bFolder) {
      arrNames.push_back(strName);
      ++nNamed;
    }
  }
  if (bFolder && !(arrNames.empty() && !bAbsolute)) arrNames.emplace_back();
  std::string strResult;
  for (std::size_t n = 0; n < arrNames.size(); ++n) {
    if (n > 0 || bAbsolute) strResult += '/';
    strResult += arrNames[n];
  }
  return strResult.empty() && bAbsolute ? "/" : strResult;
}

bool hasScheme(std::string_view strUrl) {
  const std::size_t nColon = strUrl.find(':');
  return nColon != kNone && nColon > 1 && isAsciiLetter(strUrl[0]) &&
         std::all_of(strUrl.begin(), strUrl.begin() + static_cast<std::ptrdiff_t>(nColon),
                     isSchemeChar);
}

bool isHttpUrl(std::string_view strUrl) {
  return beginsWithNoCase(strUrl, "http:") || beginsWithNoCase(strUrl, "https:");
}

bool isPageUrl(std::string_view strUrl) {
  if (std::ranges::any_of(kPageExtensions, [&](std::string_view strExtension) {
        return findNoCase(strUrl, strExtension) != kNone;
      })) {
    return true;
  }
  if (!beginsWithNoCase(strUrl, "http")) return false;
  const std::size_t nHost = strUrl.find("//");
  return strUrl.find('/', nHost == kNone ? 0 : nHost + 2) == kNone;
}

std::string percentDecoded(std::string_view strText) {
  std::string strResult;
  strResult.reserve(strText.size());
  for (std::size_t n = 0; n < strText.size(); ++n) {
    const bool bEscape = strText[n] == '%' && strText.size() - n > 2;
    const int nByte = bEscape ? hex::byteOf(strText[n + 1], strText[n + 2]) : -1;
    strResult += nByte < 0 ? strText[n] : static_cast<char>(nByte);
    if (nByte >= 0) n += 2;
  }
  return strResult;
}

std::string replacedAll(std::string_view strText, std::string_view strPart,
                        std::string_view strNew) {
  std::string strResult;
  strResult.reserve(strText.size());
  std::size_t nFrom = 0;
  while (true) {
    const std::size_t nFound = findBytes(strText, strPart, nFrom);
    strResult += strText.substr(nFrom, nFound == kNone ? kNone : nFound - nFrom);
    if (nFound == kNone) return strResult;
    strResult += strNew;
    nFrom = nFound + strPart.size();
  }
}

}  // namespace mail
