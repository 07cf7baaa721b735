#include <algorithm>
#include <array>
#include <string>

#include "archive/Mhtml.h"
#include "archive/TagPass.h"
#include "archive/UrlText.h"
#include "base/AsciiText.h"
#include "html/CkHtmlHelp.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kBackslash = "\\";

bool isData(std::string_view strUrl) { return beginsWithNoCase(strUrl, "data:"); }

std::string attributeOf(const StringBuffer& strTag, std::string_view strName) {
  StringBuffer strValue;
  _ckHtmlHelp::getAttrValue(strTag.view(), strName, strValue);
  return std::string(strValue.view());
}

bool endsAsImage(std::string_view strText) {
  static constexpr std::array<std::string_view, 4> kExtensions = {".gif", ".jpg", ".bmp", ".png"};
  return std::ranges::any_of(kExtensions, [&](std::string_view strExtension) {
    return strText.size() > strExtension.size() &&
           equalsNoCase(strText.substr(strText.size() - strExtension.size()), strExtension);
  });
}

bool looksLikeScript(std::string_view strUrl) {
  static constexpr std::array<std::string_view, 5> kExtensions = {".js", ".cfm", ".htm", ".vbs",
                                                                  ".asp"};
  return std::ranges::any_of(kExtensions, [&](std::string_view strExtension) {
    return findNoCase(strUrl, strExtension) != kNone;
  });
}

}  // namespace

bool Mhtml::isEmbeddableImage(std::string_view strUrl) const {
  return m_embedImages && (!m_embedLocalOnly || !isHttpUrl(strUrl));
}

std::string Mhtml::referTo(const std::string& strUrl, ShownAs eShownAs) {
  const StringPair& objPair = addResource(strUrl, eShownAs);
  if (!m_useCids) return std::string(objPair.m_strUrl.view());
  std::string strId = "cid:" + std::string(objPair.m_strContentId.view());
  m_cidToUrl.try_emplace(strId, strUrl);
  return strId;
}

void Mhtml::rewriteFrames(StringBuffer& strHtml, std::string_view strNeedle, LogBase& log) {
  const bool bTooDeep = m_contexts.getSize() >= kMaxFrameDepth;
  const bool bWhole = rewriteTags(strHtml, strNeedle, [&](std::string_view, StringBuffer& strTag) {
    const std::string strSrc = attributeOf(strTag, "SRC");
    if (strSrc.empty() || strSrc == kBackslash || isData(strSrc)) return TagResult::kKeep;
    const std::string strUrl = absoluteUrl(strSrc);
    log.LogData("frameUrl", strUrl);
    if (!bTooDeep) (void)addResource(strUrl, ShownAs::kFrame);
    _ckHtmlHelp::setAttrValue(strTag, "SRC", strUrl);
    return TagResult::kClean;
  });
  if (!bWhole) log.LogError("Unclosed FRAME or IFRAME tag!");
}

void Mhtml::rewriteImages(StringBuffer& strHtml, std::string_view strNeedle, LogBase& log) {
  (void)rewriteTags(strHtml, strNeedle, [&](std::string_view, StringBuffer& strTag) {
    const std::string strSrc = attributeOf(strTag, "SRC");
    if (strSrc.empty() || strSrc == kBackslash || isData(strSrc)) return TagResult::kKeep;
    const std::string strUrl = imageUrl(strSrc);
    const bool bEmbed = isEmbeddableImage(strUrl);
    log.LogData("imageUrl", strUrl);
    log.LogDataLong("toBeEmbedded", bEmbed ? 1 : 0);
    if (!bEmbed) return TagResult::kKeep;
    _ckHtmlHelp::setAttrValue(strTag, "SRC", referTo(strUrl));
    return TagResult::kClean;
  });
}

void Mhtml::rewriteScripts(StringBuffer& strHtml, std::string_view strNeedle, LogBase& log) {
  const bool bScripts = equalsNoCase(strNeedle, "<script");
  (void)rewriteTags(strHtml, strNeedle, [&](std::string_view, StringBuffer& strTag) {
    const std::string strSrc = attributeOf(strTag, "SRC");
    if (strSrc.empty() || strSrc == "#" || isData(strSrc)) return TagResult::kKeep;
    const std::string strUrl = imageUrl(strSrc);
    log.LogData("srcUrl", strUrl);
    if (bScripts && !looksLikeScript(strUrl)) return TagResult::kKeep;
    const ShownAs eShownAs = bScripts ? ShownAs::kScript : ShownAs::kPicture;
    _ckHtmlHelp::setAttrValue(strTag, "SRC", referTo(strUrl, eShownAs));
    return TagResult::kClean;
  });
}

void Mhtml::makeAbsolute(StringBuffer& strHtml, std::string_view strNeedle,
                         std::string_view strName) {
  (void)rewriteTags(strHtml, strNeedle, [&](std::string_view, StringBuffer& strTag) {
    StringBuffer strValue;
    _ckHtmlHelp::getAttrValueAnywhere(strTag.view(), strName, strValue);
    if (strValue.isEmpty() || strValue.beginsWithIgnoreCase("mailto:")) return TagResult::kKeep;
    std::string strUrl;
    if (strValue.beginsWithIgnoreCase("javascript:")) {
      if (!m_dropScripts) return TagResult::kKeep;
      strUrl = "#";
    } else if (!strValue.equals("#")) {
      strUrl = absoluteUrl(strValue.view());
    }
    _ckHtmlHelp::setAttrValue(strTag, strName, strUrl);
    return TagResult::kClean;
  });
}

// Pictures that a script shows when the mouse is over a link: 'button2.gif' in its text.
void Mhtml::rewriteRollovers(StringBuffer& strHtml, LogBase& log) {
  (void)rewriteTags(strHtml, "<a", [&](std::string_view, StringBuffer& strTag) {
    const std::string strScript = attributeOf(strTag, "onmouseover");
    std::string strResult;
    bool bChanged = false;
    std::size_t nFrom = 0;
    while (nFrom < strScript.size()) {
      const std::size_t nQuote = std::min(strScript.find_first_of("'\"", nFrom), strScript.size());
      const std::size_t nEnd =
          nQuote < strScript.size() ? strScript.find(strScript[nQuote], nQuote + 1) : kNone;
      if (nEnd == kNone) break;
      const std::string strText = strScript.substr(nQuote + 1, nEnd - nQuote - 1);
      const std::string strUrl = endsAsImage(strText) ? imageUrl(strText) : "";
      const bool bEmbed = !strUrl.empty() && isEmbeddableImage(strUrl);
      if (bEmbed) log.LogData("imageUrl", strUrl);
      strResult.append(strScript, nFrom, nQuote + 1 - nFrom);
      strResult += bEmbed ? referTo(strUrl) : strText;
      strResult += strScript[nEnd];
      bChanged = bChanged || bEmbed;
      nFrom = nEnd + 1;
    }
    if (!bChanged) return TagResult::kKeep;
    _ckHtmlHelp::setAttrValue(strTag, "onmouseover", strResult + strScript.substr(nFrom));
    return TagResult::kClean;
  });
}

void Mhtml::rewriteBackgrounds(StringBuffer& strHtml, std::string_view strNeedle, LogBase& log) {
  (void)rewriteTags(strHtml, strNeedle, [&](std::string_view, StringBuffer& strTag) {
    const std::string strSrc = attributeOf(strTag, "BACKGROUND");
    if (strSrc.empty() || isPageUrl(strSrc) || isData(strSrc)) return TagResult::kKeep;
    const std::string strUrl = imageUrl(strSrc);
    log.LogData("bgUrl", strUrl);
    if (!isEmbeddableImage(strUrl)) return TagResult::kKeep;
    _ckHtmlHelp::setAttrValue(strTag, "BACKGROUND", referTo(strUrl));
    return TagResult::kClean;
  });
}

}  // namespace mail
