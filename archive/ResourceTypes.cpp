#include "archive/ResourceTypes.h"

#include <algorithm>
#include <array>

#include "archive/LocalFiles.h"
#include "archive/UrlText.h"
#include "base/AsciiText.h"
#include "charset/WideText.h"
#include "mime/tree/ContentTypeTable.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kUnknownType = "application/octet-stream";
constexpr std::size_t kRootProbe = 1000;  // bytes that hold the root of a picture or page

unsigned number(std::string_view strBytes, std::size_t nFrom, std::size_t nBytes) {
  unsigned nValue = 0;
  for (std::size_t n = nBytes; n-- > 0;) {
    nValue = nValue << 8 | static_cast<unsigned char>(strBytes[nFrom + n]);
  }
  return nValue;
}

// The pixels lie within the file, and the header behind the 14 bytes of the file's own is one that
// is known. "BM" alone begins many a text.
bool isBmp(std::string_view strBytes) {
  if (!strBytes.starts_with("BM") || strBytes.size() < 18) return false;
  const unsigned nHeader = number(strBytes, 14, 4);
  return number(strBytes, 10, 4) < strBytes.size() && (nHeader == 12 || nHeader >= 40);
}

bool isWebp(std::string_view strBytes) {
  return strBytes.starts_with("RIFF") && strBytes.size() > 12 && strBytes.substr(8, 4) == "WEBP";
}

bool isSvg(std::string_view strBytes) {
  const std::string_view strStart = trimmed(strBytes.substr(0, kRootProbe));
  if (strStart.starts_with("<svg")) return true;
  return strStart.starts_with("<?xml") && strStart.find("<svg") != kNone &&
         findNoCase(strStart, "<html") == kNone;
}

std::string_view typeOfBytes(std::string_view strBytes) {
  if (strBytes.size() <= 4) return {};
  if (strBytes.starts_with("GIF8")) return "image/gif";
  if (strBytes.starts_with("\xFF\xD8\xFF")) return "image/jpeg";
  if (strBytes.starts_with("\x89PNG")) return "image/png";
  if (isBmp(strBytes)) return "image/bmp";
  if (strBytes.size() >= 6 && strBytes.starts_with("%PDF-")) return "application/pdf";
  if (isWebp(strBytes)) return "image/webp";
  if (isSvg(strBytes)) return "image/svg+xml";
  return {};
}

struct ImageExtension {
  std::string_view strType;
  std::string_view strAdded;     // to a name without any
  std::string_view strReplaced;  // in a name with one
};
// Kept: the two spellings of JPEG.
constexpr std::array kImageExtensions = std::to_array<ImageExtension>({
    {"image/gif", ".gif", ".gif"},
    {"image/jpeg", ".jpeg", ".jpg"},
    {"image/png", ".png", ".png"},
    {"image/bmp", ".bmp", ".bmp"},
});

}  // namespace

bool looksLikePage(std::string_view strBytes) {
  std::string strStart(strBytes.substr(0, kRootProbe));
  if (wideTextPage(strBytes) != 0) std::erase(strStart, '\0');
  const std::size_t nSvg = findNoCase(strStart, "<svg");
  static constexpr std::array<std::string_view, 4> kRoots = {"<!doctype html", "<html", "<head",
                                                             "<body"};
  return std::ranges::any_of(
      kRoots, [&](std::string_view strRoot) { return findNoCase(strStart, strRoot) < nSvg; });
}

std::string whyNot(ShownAs eShownAs, std::string_view strBytes, std::string_view strContentType) {
  constexpr std::size_t kNulProbe = 512;
  if (eShownAs == ShownAs::kFrame || eShownAs == ShownAs::kScript) return {};
  if (!typeOfBytes(strBytes).empty()) return {};
  const bool bPicture = eShownAs == ShownAs::kPicture;
  if (looksLikePage(strBytes)) {
    return bPicture ? "it is a page and no picture" : "it is a page and no style sheet";
  }
  if (!bPicture || strContentType.empty()) return {};
  if (strBytes.empty()) return "there is nothing in it";
  const bool bCalledText = beginsWithNoCase(strContentType, "text/") ||
                           beginsWithNoCase(strContentType, "application/json");
  const bool bText = bCalledText && strBytes.substr(0, kNulProbe).find('\0') == kNone;
  return bText ? "it is text and no picture" : "";
}

std::string extensionOf(std::string_view strUrl) {
  const std::size_t nDot = strUrl.rfind('.');
  std::string strExtension(nDot == kNone ? std::string_view() : strUrl.substr(nDot));
  std::ranges::transform(strExtension, strExtension.begin(), toLowerAscii);
  return strExtension;
}

DetectedType detectContentType(std::string_view strBytes, std::string_view strUrl) {
  if (const std::string_view strType = typeOfBytes(strBytes); !strType.empty()) {
    return {std::string(strType), false, true};
  }
  if (strUrl.ends_with('/')) return {kPageType};
  std::string strExtension = extensionOf(strUrl);
  if (strExtension.empty()) return {std::string(kUnknownType)};
  std::string_view strType = contentTypeOfExtension(std::string_view(strExtension).substr(1));
  if (strType.empty()) {  // "site.css?v=2"
    strExtension = extensionOf(strUrl.substr(0, strUrl.find('?')));
    if (!strExtension.empty()) strType = contentTypeOfExtension(strExtension.substr(1));
  }
  if (strType == "application/x-javascript") return {std::string(kUnknownType), true};
  if (!strType.empty()) return {std::string(strType)};
  return {std::string(beginsWithNoCase(strUrl, "http") ? kPageType : kUnknownType)};
}

std::string resourceName(std::string_view strType, std::string_view strUrl) {
  const std::size_t nSlash = strUrl.rfind('/');
  std::string_view strTail = nSlash == kNone ? strUrl : strUrl.substr(nSlash + 1);
  strTail = strTail.substr(0, strTail.rfind('?'));
  std::string strName(strTail);
  std::erase_if(strName, [](char ch) { return ch == ';' || ch == '='; });
  const auto it = std::ranges::find(kImageExtensions, strType, &ImageExtension::strType);
  if (it != kImageExtensions.end()) {
    const std::size_t nDot = strName.rfind('.');
    if (nDot == std::string::npos) {
      strName += it->strAdded;
    } else {
      strName.replace(nDot, std::string::npos, it->strReplaced);
    }
  }
  return ansiToUtf8(strName);
}

bool isPictureUrl(std::string_view strUrl) {
  return !strUrl.empty() && !beginsWithNoCase(strUrl, "data:") &&
         !beginsWithNoCase(strUrl, "cid:") && !strUrl.starts_with('#');
}

}  // namespace mail
