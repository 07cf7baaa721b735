#include <algorithm>
#include <string>

#include "archive/Mhtml.h"
#include "archive/UrlText.h"
#include "base/AsciiText.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::size_t kMaxBaseBytes = 999;
constexpr std::string_view kFileScheme = "file:///";

bool isFileUrl(std::string_view strUrl) { return beginsWithNoCase(strUrl, kFileScheme); }

// The text before the first "/" that has no other beside it.
std::string_view rootOf(std::string_view strUrl) {
  for (std::size_t n = 1; n < strUrl.size(); ++n) {
    const bool bLone = strUrl[n - 1] != '/' && (n + 1 == strUrl.size() || strUrl[n + 1] != '/');
    if (strUrl[n] == '/' && bLone) return strUrl.substr(0, n);
  }
  return strUrl;
}

}  // namespace

MhtmlContext& Mhtml::context() {
  if (m_contexts.getSize() == 0 && !m_contexts.append(makeOwned<MhtmlContext>())) {
    throw std::bad_alloc();
  }
  return *m_contexts.at(m_contexts.getSize() - 1);
}

std::string Mhtml::absoluteUrl(std::string_view strUrl) {
  if (strUrl.empty() || beginsWithNoCase(strUrl, "cid:") || strUrl.starts_with('#')) {
    return std::string(strUrl);
  }
  const MhtmlContext& objContext = context();
  const bool bFromRoot = strUrl.starts_with('/') && !objContext.root_url.isEmpty();
  const std::string_view strBase = (bFromRoot ? objContext.root_url : objContext.base_url).view();
  if (hasScheme(strUrl) || strUrl.find(":/") != kNone || strUrl.find(":\\") != kNone) {
    return std::string(strUrl);
  }
  if (m_fromMemory && strBase.empty()) return std::string(strUrl);
  if (strUrl.starts_with("//")) return "http:" + std::string(strUrl);
  if (beginsWithNoCase(strBase, "http")) {
    return combineUrl(std::string(strBase) + (strBase.ends_with('/') ? "" : "/"), strUrl);
  }
  if (strBase.empty()) return std::string(strUrl);
  if (strUrl.starts_with('/') && isFileUrl(strBase)) {  // a path of its own
    return std::string(kFileScheme) + std::string(strUrl.substr(1));
  }
  if (strUrl.starts_with('/')) strUrl.remove_prefix(1);
  return std::string(strBase) + (strBase.ends_with('/') ? "" : "/") + std::string(strUrl);
}

std::string Mhtml::imageUrl(std::string_view strUrl) {
  if (!m_isLocal || isFileUrl(context().base_url.view())) return absoluteUrl(strUrl);
  std::string strResult = replacedAll(strUrl, "\\/", "/");
  std::ranges::replace(strResult, '\\', '/');
  return strResult.size() > 1 && strResult[1] == ':' ? "file://" + strResult : strResult;
}

void Mhtml::setBaseUrls(std::string_view strUrl, LogBase& log) {
  strUrl = strUrl.substr(0, kMaxBaseBytes);
  strUrl = strUrl.substr(0, strUrl.find_first_of("?#"));
  if (!strUrl.ends_with('/')) {
    const std::size_t nSlash = strUrl.rfind('/');
    const bool bHost = nSlash != kNone && nSlash > 0 && strUrl[nSlash - 1] == '/';
    const bool bFile = strUrl.find('.', nSlash == kNone ? 0 : nSlash) != kNone;
    if (nSlash != kNone && !bFile && !bHost) strUrl = strUrl.substr(0, nSlash + 1);
  }
  MhtmlContext& objContext = context();
  const std::size_t nScheme = strUrl.find("://");
  const std::size_t nPath = nScheme == kNone ? 0 : nScheme + 3;
  const std::size_t nLast = strUrl.rfind('/');
  const bool bHasFolder = nLast != kNone && nLast >= nPath;
  (void)objContext.base_url.setString(bHasFolder ? strUrl.substr(0, nLast) : strUrl);
  // Names on disk have no site above them.
  (void)objContext.root_url.setString(isHttpUrl(strUrl) ? rootOf(strUrl) : std::string_view());
  log.LogData("root_url", objContext.root_url.view());
  log.LogData("base_url", objContext.base_url.view());
}

}  // namespace mail
