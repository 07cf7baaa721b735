#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>

#include "archive/Mhtml.h"
#include "archive/SetAside.h"
#include "archive/TagPass.h"
#include "archive/UrlText.h"
#include "base/AsciiText.h"
#include "charset/ByteOrderMarks.h"
#include "html/CkHtmlHelp.h"

// A sheet is text too. Its own URLs are made absolute before the sheets that it imports are put
// into it, whose URLs belong to another folder.

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kSpace = " \t\r\n\f";

// Sets a StringBuffer for the life of the object.
class Exchanged {
 public:
  Exchanged(StringBuffer& strPlace, std::string_view strNew)
      : m_strPlace(strPlace), m_strOld(strPlace) {
    (void)m_strPlace.setString(strNew);
  }
  ~Exchanged() { m_strPlace = std::move(m_strOld); }
  Exchanged(const Exchanged&) = delete;
  Exchanged& operator=(const Exchanged&) = delete;

 private:
  StringBuffer& m_strPlace;
  StringBuffer m_strOld;
};

std::size_t skipSpace(std::string_view strText, std::size_t nFrom) {
  return std::min(strText.find_first_not_of(kSpace, nFrom), strText.size());
}

bool standsAt(std::string_view strText, std::size_t nFrom, std::string_view strPart) {
  return beginsWithNoCase(strText.substr(std::min(nFrom, strText.size())), strPart);
}

// A value in a sheet, between the positions.
struct Value {
  std::size_t nFrom = 0;
  std::size_t nTo = 0;
};

// "background: url(VALUE)" with the name at nName; nothing found has nTo 0.
Value backgroundUrl(std::string_view strText, std::size_t nName) {
  constexpr std::string_view kName = "background";
  constexpr std::string_view kImage = "-image";
  constexpr std::string_view kUrl = "url(";
  std::size_t n = nName + kName.size();
  if (standsAt(strText, n, kImage)) n += kImage.size();
  n = skipSpace(strText, n);
  if (!standsAt(strText, n, ":")) return {};
  n = skipSpace(strText, n + 1);
  if (!standsAt(strText, n, kUrl)) return {};
  n += kUrl.size();
  const std::size_t nEnd = strText.find(')', n);
  return nEnd == kNone ? Value{} : Value{n, nEnd};
}

std::string withoutQuotes(std::string_view strValue) {
  std::string strResult(trimmed(strValue));
  std::erase_if(strResult, [](char ch) { return ch == '"' || ch == '\''; });
  return strResult;
}

struct Import {
  std::string_view strUrl;
  std::string_view strMedia;  // for what it is meant; empty: for all
  std::size_t nBytes = 0;     // up to and with its ";"
};

// The statement that an "@import" begins, whose address may hold a ";" in quotes or brackets.
// Nothing where it has no end.
std::optional<Import> readImport(std::string_view strText) {
  constexpr std::string_view kUrl = "url(";
  std::size_t n = skipSpace(strText, 0);
  const bool bUrl = standsAt(strText, n, kUrl);
  if (bUrl) n = skipSpace(strText, n + kUrl.size());
  const char ch = n < strText.size() ? strText[n] : '\0';
  const bool bQuoted = ch == '"' || ch == '\'';
  if (bQuoted) ++n;
  const std::string_view strEnds = bQuoted ? std::string_view(&ch, 1) : bUrl ? ")" : " \t\r\n);";
  const std::size_t nUrlEnd = strText.find_first_of(strEnds, n);
  if (nUrlEnd == kNone) return std::nullopt;
  const std::size_t nEnd = strText.find(';', nUrlEnd);
  if (nEnd == kNone) return std::nullopt;
  std::string_view strMedia = strText.substr(nUrlEnd, nEnd - nUrlEnd);
  if (bQuoted) strMedia.remove_prefix(1);
  strMedia.remove_prefix(std::min(strMedia.find_first_not_of(") \t\r\n"), strMedia.size()));
  return Import{trimmed(strText.substr(n, nUrlEnd - n)), strMedia, nEnd + 1};
}

// The folder that a sheet's URLs belong to, as joinSheetUrl takes it.
std::string styleBaseOf(const std::string& strUrl) {
  if (isHttpUrl(strUrl)) return strUrl;
  const std::size_t nSlash = strUrl.rfind('/');
  std::string strFolder = nSlash == std::string::npos ? "" : strUrl.substr(0, nSlash);
  return strFolder == "." ? "" : strFolder;
}

std::string joinSheetUrl(std::string_view strBase, std::string_view strUrl) {
  if (isHttpUrl(strBase)) return combineUrl(strBase, strUrl);
  if (hasScheme(strUrl) || isAbsolutePath(strUrl)) return std::string(strUrl);
  constexpr std::string_view kFile = "file:///";
  const std::string strPath = std::string(strBase) + "/" + std::string(strUrl);
  if (!beginsWithNoCase(strPath, kFile)) return withoutDotNames(strPath);
  return strPath.substr(0, kFile.size() - 1) + withoutDotNames(strPath.substr(kFile.size() - 1));
}

void appendAttribute(std::string_view strName, const StringBuffer& strValue, StringBuffer& strOut) {
  if (strValue.isEmpty()) return;
  (void)strOut.append(' ' + std::string(strName) + "=\"" +
                      replacedAll(strValue.view(), "\"", "&quot;") + '"');
}

// Whether the media that a sheet is for have a screen among them: "screen, projection", "only
// screen and (max-width: 600px)", and those that name none at all.
bool isForScreen(std::string_view strMedia) {
  for (std::size_t nFrom = 0; nFrom <= strMedia.size();) {
    const std::size_t nEnd = std::min(strMedia.find(',', nFrom), strMedia.size());
    std::string_view strItem = trimmed(strMedia.substr(nFrom, nEnd - nFrom));
    if (beginsWithNoCase(strItem, "only ")) strItem = trimmed(strItem.substr(5));
    strItem = strItem.substr(0, strItem.find_first_of(" \t\r\n"));
    if (strItem.empty() || strItem.starts_with('(') || equalsNoCase(strItem, "screen") ||
        equalsNoCase(strItem, "all")) {
      return true;
    }
    nFrom = nEnd + 1;
  }
  return false;
}

// The blocks of styles that somebody put into a sheet go; an end tag would end the block that the
// sheet becomes.
void removeStyleTags(StringBuffer& strSheet) {
  rewriteBlocks(strSheet, "<style", "</style>",
                [](std::string_view strBlock, bool bClosed, StringBuffer& strOut) {
                  if (bClosed) return strBlock.size();
                  (void)strOut.appendChar('<');
                  return std::size_t{1};
                });
  constexpr std::string_view kEnd = "</style";
  rewriteBlocks(strSheet, kEnd, {}, [&](std::string_view, bool, StringBuffer& strOut) {
    (void)strOut.append("<\\/style");
    return kEnd.size();
  });
}

}  // namespace

void Mhtml::extractStyles(StringBuffer& strHtml, SetAside& objSetAside, LogBase& log) {
  rewriteBlocks(strHtml, "<style", "</style>",
                [&](std::string_view strBlock, bool bClosed, StringBuffer& strOut) -> std::size_t {
                  if (!bClosed) {
                    log.LogError("Unclosed STYLE tag!");
                    (void)strOut.append(strBlock);
                    return strBlock.size();
                  }
                  const Exchanged objBase(m_styleBase, {});
                  StringBuffer strText(strBlock);
                  processSheet(strText, 0, log);
                  objSetAside.arrStyles.emplace_back(strText.view());
                  (void)strOut.append(SetAside::kStylePlace);
                  return strBlock.size();
                });
}

void Mhtml::updateLinkHrefs(StringBuffer& strHtml, LogBase& log) {
  (void)rewriteTags(strHtml, "<link", [&](std::string_view, StringBuffer& strTag) {
    StringBuffer strValue;
    const auto has = [&](std::string_view strName, std::string_view strWanted) {
      _ckHtmlHelp::getAttrValue(strTag.view(), strName, strValue);
      return strValue.equalsIgnoreCase(strWanted);
    };
    const bool bSheet = has("TYPE", "text/css") || has("REL", "stylesheet");
    _ckHtmlHelp::getAttrValueAnywhere(strTag.view(), "HREF", strValue);
    if (!bSheet && strValue.isEmpty()) return TagResult::kKeep;
    const std::string strUrl = absoluteUrl(strValue.view());
    _ckHtmlHelp::setAttrValue(strTag, "HREF", strUrl);
    if (bSheet) replaceLink(strTag, strUrl, log);
    return TagResult::kClean;
  });
}

void Mhtml::replaceLink(StringBuffer& strTag, const std::string& strUrl, LogBase& log) {
  StyleAttributes objAttributes;
  _ckHtmlHelp::getAttrValue(strTag.view(), "MEDIA", objAttributes.strMedia);
  log.LogData("mediaAttribute", objAttributes.strMedia.view());
  if (!isForScreen(objAttributes.strMedia.view())) {
    log.LogInfo("Skipping this link tag..");
    return strTag.clear();
  }
  if (strUrl.empty()) {
    log.LogError("Cannot find href in link tag");
    log.LogData("link_tag", strTag.view());
    return;
  }
  _ckHtmlHelp::getAttrValue(strTag.view(), "SCOPED", objAttributes.strScoped);
  _ckHtmlHelp::getAttrValue(strTag.view(), "TITLE", objAttributes.strTitle);
  StringBuffer strStyle;
  if (!includeStyleSheet(strUrl, objAttributes, strStyle, log)) {
    log.LogError("Failed to download style sheet");
    log.LogData("style_sheet_url", strUrl);
    return;
  }
  log.LogInfo("Successfully added content (1)");
  log.LogDataLong("external_content", strStyle.getSize());
  log.LogData("contentLocation1", strUrl);
  strTag = std::move(strStyle);
}

bool Mhtml::includeStyleSheet(const std::string& strUrl, const StyleAttributes& objAttributes,
                              StringBuffer& strOut, LogBase& log) {
  log.LogData("urlOrFilepath", strUrl);
  const StringBuffer* const pText = fetchSheet(strUrl, log);
  if (pText == nullptr || !spendBrought(pText->getSize())) return false;
  StringBuffer strText = *pText;
  const Exchanged objBase(m_styleBase, styleBaseOf(strUrl));
  processSheet(strText, 0, log);
  (void)strOut.append("\n<style type=\"text/css\"");
  appendAttribute("media", objAttributes.strMedia, strOut);
  appendAttribute("scoped", objAttributes.strScoped, strOut);
  appendAttribute("title", objAttributes.strTitle, strOut);
  (void)strOut.append(">\n<!--\n");
  (void)strOut.append(strText);
  (void)strOut.append("\n-->\n</style>\n");
  return true;
}

const StringBuffer* Mhtml::fetchSheet(const std::string& strUrl, LogBase& log) {
  const std::string strIdentity = identityOf(strUrl);
  if (const auto it = m_mapSheets.find(strIdentity); it != m_mapSheets.end()) return &it->second;
  Fetched objFetched;
  if (!fetchResource(strUrl, ShownAs::kSheet, objFetched, log)) return nullptr;
  std::string_view strBytes = objFetched.arrBytes.view();
  if (strBytes.starts_with(byte_order::kUtf8Mark)) {
    strBytes.remove_prefix(byte_order::kUtf8Mark.size());
  }
  StringBuffer strText(strBytes);
  removeStyleTags(strText);
  SetAside::guardPlaces(strText);
  return &m_mapSheets.emplace(strIdentity, std::move(strText)).first->second;
}

void Mhtml::processSheet(StringBuffer& strSheet, int nDepth, LogBase& log) {
  processStyleUrls(strSheet, log);
  processImports(strSheet, nDepth, log);
}

void Mhtml::processStyleUrls(StringBuffer& strSheet, LogBase& log) {
  const std::string_view strText = strSheet.view();
  StringBuffer strOut;
  std::size_t nCopied = 0;
  int nDone = 0;
  for (std::size_t n = 0; nDone < kMaxStyleUrls; ++n) {
    n = findNoCase(strText, "background", n);
    if (n == kNone) break;
    const Value objValue = backgroundUrl(strText, n);
    if (objValue.nTo == 0) continue;
    ++nDone;
    const std::string strValue =
        withoutQuotes(strText.substr(objValue.nFrom, objValue.nTo - objValue.nFrom));
    if (isPictureUrl(strValue)) {
      const std::string strUrl = styleUrl(strValue, log);
      (void)strOut.append(strText.substr(nCopied, objValue.nFrom - nCopied));
      (void)strOut.append(isEmbeddableImage(strUrl) ? referTo(strUrl) : strUrl);
      nCopied = objValue.nTo;
    }
    n = objValue.nTo;
  }
  if (nCopied == 0) return;
  (void)strOut.append(strText.substr(nCopied));
  strSheet = std::move(strOut);
}

std::string Mhtml::styleUrl(std::string_view strValue, LogBase& log) {
  const bool bFromSheet = !m_styleBase.isEmpty();
  const std::string strUrl =
      bFromSheet ? joinSheetUrl(m_styleBase.view(), strValue) : imageUrl(strValue);
  const bool bFromFolder = !context().m_strFolder.empty();
  log.LogData(bFromSheet                  ? "combinedBgUrl"
              : bFromFolder               ? "combinedBgPath2"
              : strValue.starts_with('/') ? "combinedBgUrl_1"
                                          : "combinedBgUrl_2",
              strUrl);
  return replacedAll(strUrl, " ", "%20");  // it stands without quotes from now on
}

void Mhtml::processImports(StringBuffer& strSheet, int nDepth, LogBase& log) {
  constexpr std::string_view kImport = "@import";
  const std::string_view strText = strSheet.view();
  std::size_t nFound = nDepth > kMaxImportDepth ? kNone : findNoCase(strText, kImport);
  if (nFound == kNone) return;
  StringBuffer strOut;
  std::size_t nCopied = 0;
  while (nFound != kNone) {
    const std::size_t nValue = nFound + kImport.size();
    const auto objImport = readImport(strText.substr(nValue));
    if (!objImport) break;
    (void)strOut.append(strText.substr(nCopied, nFound - nCopied));
    nCopied = nValue + objImport->nBytes;
    if (!importSheet(objImport->strUrl, objImport->strMedia, nDepth, strOut, log)) {
      (void)strOut.append(strText.substr(nFound, nCopied - nFound));
    }
    nFound = findNoCase(strText, kImport, nCopied);
  }
  (void)strOut.append(strText.substr(nCopied));
  strSheet = std::move(strOut);
}

// True when the statement has had its effect.
bool Mhtml::importSheet(std::string_view strUrl, std::string_view strMedia, int nDepth,
                        StringBuffer& strOut, LogBase& log) {
  if (strUrl.empty()) return false;
  const std::string strAbsolute =
      m_styleBase.isEmpty() ? imageUrl(strUrl) : joinSheetUrl(m_styleBase.view(), strUrl);
  log.LogData("StyleUrlQP", strAbsolute);
  const StringBuffer* const pText = fetchSheet(strAbsolute, log);
  if (pText == nullptr) return false;
  // What came for one medium has to come for another, too.
  const std::string strKey = identityOf(strAbsolute) + '\n' + std::string(strMedia);
  if (!context().m_setImported.insert(strKey).second) return true;
  if (!spendBrought(pText->getSize())) return false;
  StringBuffer strText = *pText;
  const Exchanged objBase(m_styleBase, styleBaseOf(strAbsolute));
  processSheet(strText, nDepth + 1, log);
  if (!strMedia.empty()) (void)strOut.append("@media " + std::string(strMedia) + " {\n");
  (void)strOut.append(strText);
  (void)strOut.append(strMedia.empty() ? "\n" : "\n}\n");
  return true;
}

}  // namespace mail
