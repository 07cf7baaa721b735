#include "html/CkHtmlHelp.h"

#include <string>
#include <utility>

#include "base/AsciiText.h"
#include "base/LogContextExitor.h"
#include "html/ParseEngine.h"

namespace mail {
namespace {

constexpr std::string_view kSpace = " \t\r\n";
constexpr std::string_view kQuotes = "\"'";

// The value behind a "=", from the position on, in quotes. Leaves the position behind it.
void appendCleanValue(ParseEngine& objParse, StringBuffer& strOut) {
  objParse.skipAnyOf(kSpace);
  if (objParse.current() == '\\') objParse.skip();
  StringBuffer strValue;
  char chQuote = objParse.current();
  if (kQuotes.find(chQuote) != std::string_view::npos && !objParse.atEnd()) {
    objParse.skip();
    objParse.captureUntilAnyOfUnescaped({&chQuote, 1}, strValue);
    (void)strValue.replaceAll("\\\"", "&quot;");
    objParse.skip();
  } else {
    objParse.captureUntilAnyOf("\r\n >", strValue);
    chQuote = strValue.contains("\"") ? '\'' : '"';
  }
  if (strValue.lastChar() == '\\') strValue.chop(1);
  (void)strOut.appendChar(chQuote);
  (void)strOut.append(strValue);
  (void)strOut.appendChar(chQuote);
}

// One attribute with the blank in front of it. False when the tag is at its end.
bool appendCleanAttribute(ParseEngine& objParse, StringBuffer& strOut) {
  objParse.skipAnyOf(" \t\r\n\"'");
  StringBuffer strName;
  objParse.captureUntilAnyOf(" \t\r\n>=", strName);
  if (!strName.isEmpty()) {
    (void)strOut.appendChar(' ');
    (void)strOut.append(strName);
  }
  objParse.skipAnyOf(kSpace);
  const char ch = objParse.current();
  if (isAsciiLetter(ch)) return true;
  if (ch == '=') {
    if (strName.isEmpty()) (void)strOut.appendChar(' ');
    (void)strOut.appendChar('=');
    objParse.skip();
    appendCleanValue(objParse, strOut);
    return true;
  }
  strOut.trim();
  if (ch == '>' || strOut.lastChar() != '>') (void)strOut.appendChar('>');
  return false;
}

// Puts strNew in the place of the bytes from nFrom to nTo. False for want of memory.
bool replaceRange(StringBuffer& strText, std::size_t nFrom, std::size_t nTo,
                  std::string_view strNew) {
  const std::string_view strOld = strText.view();
  StringBuffer strResult;
  if (!strResult.reserve(strOld.size() + strNew.size()) ||
      !strResult.append(strOld.substr(0, nFrom)) || !strResult.append(strNew) ||
      !strResult.append(strOld.substr(nTo))) {
    return false;
  }
  strText = std::move(strResult);
  return true;
}

bool replaceFirst(StringBuffer& strText, std::string_view strPart, std::string_view strNew) {
  const std::size_t nFound = findBytes(strText.view(), strPart);
  return nFound != std::string_view::npos &&
         replaceRange(strText, nFound, nFound + strPart.size(), strNew);
}

// The charset in the "content" of a META tag, up to a double quote, else to a ";", else to a blank.
std::string_view charsetOfContent(std::string_view strContent) {
  constexpr std::string_view kCharset = "CHARSET=";
  const std::size_t nFound = findNoCase(strContent, kCharset);
  if (nFound == std::string_view::npos) return {};
  strContent.remove_prefix(nFound + kCharset.size());
  for (const char chEnd : {'"', ';', ' '}) {
    const std::size_t nEnd = strContent.find(chEnd);
    if (nEnd != std::string_view::npos) return strContent.substr(0, nEnd);
  }
  return strContent;
}

// The value behind the start of an attribute, which ends in the quote; false when the tag lacks it.
bool findValue(std::string_view strTag, std::string_view strStart, StringBuffer& strOut) {
  const std::size_t nFound = findNoCase(strTag, strStart);
  if (nFound == std::string_view::npos) return false;
  const auto strRest = strTag.substr(nFound + strStart.size());
  (void)strOut.setString(trimmed(strRest.substr(0, strRest.find(strStart.back()))));
  return true;
}

// The tag at the position, up to a ">" that no quote holds, in its regular form into strTag (set).
// Leaves the position behind it.
void takeTag(ParseEngine& objParse, StringBuffer& strTag) {
  StringBuffer strRaw(objParse.takeToUnquoted('>'));
  objParse.skip();
  (void)strRaw.appendChar('>');
  _ckHtmlHelp::cleanHtmlTag(strRaw.view(), strTag);
}

void charsetOfTag(std::string_view strTag, StringBuffer& strOut) {
  _ckHtmlHelp::getAttrValueAnywhere(strTag, "charset", strOut);
  if (!strOut.isEmpty()) return;
  StringBuffer strValue;
  _ckHtmlHelp::getAttrValueAnywhere(strTag, "HTTP-EQUIV", strValue);
  if (!strValue.equalsIgnoreCase("content-type")) return;
  _ckHtmlHelp::getAttrValueAnywhere(strTag, "content", strValue);
  (void)strOut.setString(charsetOfContent(strValue.view()));
}

void charsetOfXmlDeclaration(std::string_view strHtml, StringBuffer& strOut) {
  constexpr std::string_view kEncoding = "encoding=\"";
  if (findBytes(strHtml, "<?xml ") == std::string_view::npos) return;
  const std::size_t nFound = findBytes(strHtml, kEncoding);
  if (nFound == std::string_view::npos) return;
  const auto strRest = strHtml.substr(nFound + kEncoding.size());
  const auto strValue = strRest.substr(0, strRest.find('"'));
  if (equalsNoCase(strValue, "utf-16")) (void)strOut.setString(strValue);
}

}  // namespace

void _ckHtmlHelp::cleanHtmlTag(std::string_view strTag, StringBuffer& strOut) {
  strOut.clear();
  ParseEngine objParse(strTag);
  if (!objParse.seek("<")) return;
  (void)strOut.appendChar('<');
  objParse.skip();
  objParse.skipAnyOf(kSpace);
  objParse.captureUntilAnyOf(kSpace, strOut);
  objParse.skipAnyOf(kSpace);
  if (objParse.current() == '>') {
    (void)strOut.appendChar('>');
    return;
  }
  for (int n = 0; n < kMaxAttributes && appendCleanAttribute(objParse, strOut); ++n) continue;
  strOut.removeChar('\r');
  strOut.replaceAnyOf("\n", ' ');
}

void _ckHtmlHelp::getAttrValue(std::string_view strTag, std::string_view strName,
                               StringBuffer& strOut) {
  strOut.clear();
  for (const char chQuote : kQuotes) {
    if (findValue(strTag, ' ' + std::string(strName) + '=' + chQuote, strOut)) return;
  }
}

void _ckHtmlHelp::getAttrValueAnywhere(std::string_view strTag, std::string_view strName,
                                       StringBuffer& strOut) {
  getAttrValue(strTag, strName, strOut);
  for (const char chQuote : kQuotes) {
    if (!strOut.isEmpty()) break;
    (void)findValue(strTag, std::string(strName) + '=' + chQuote, strOut);
  }
  strOut.replaceAnyOf("\\", '/');
}

void _ckHtmlHelp::setAttrValue(StringBuffer& strTag, std::string_view strName,
                               std::string_view strValue) {
  const std::string_view strOld = strTag.view();
  const std::string strStart = ' ' + std::string(strName) + '=';
  const std::size_t nFound = findNoCase(strOld, strStart);
  if (nFound == std::string_view::npos) return;
  const std::size_t nQuote = nFound + strStart.size();
  if (nQuote == strOld.size()) return;
  const std::size_t nEnd = strOld.find(strOld[nQuote], nQuote + 1);
  if (nEnd == std::string_view::npos) return;
  (void)replaceRange(strTag, nQuote + 1, nEnd, strValue);
}

void _ckHtmlHelp::charsetFromMetaTag(std::string_view strHtml, StringBuffer& strOut) {
  strOut.clear();
  ParseEngine objParse(strHtml);
  StringBuffer strTag;
  bool bAny = false;
  while (objParse.seek("<meta")) {
    bAny = true;
    takeTag(objParse, strTag);
    charsetOfTag(strTag.view(), strOut);
    if (!strOut.isEmpty()) return;
  }
  if (!bAny) charsetOfXmlDeclaration(strHtml, strOut);
}

bool _ckHtmlHelp::getBaseHref(std::string_view strHtml, StringBuffer& strOut) {
  strOut.clear();
  ParseEngine objParse(strHtml);
  if (!objParse.seek("<base ")) return false;
  StringBuffer strTag;
  takeTag(objParse, strTag);
  getAttrValueAnywhere(strTag.view(), "href", strOut);
  return !strOut.isEmpty();
}

// Tags that are looked for are folded to lower case first, so that the next step finds them.
bool _ckHtmlHelp::ensureStructure(StringBuffer& strHtml) {
  const auto has = [&](std::string_view strPart) { return strHtml.containsIgnoreCase(strPart); };
  const auto fold = [&](std::string_view strUpper, std::string_view strLower) {
    (void)strHtml.replaceAll(strUpper, strLower);
  };
  bool bChanged = false;
  const auto put = [&](std::string_view strPlace, std::string_view strNew) {
    bChanged = replaceFirst(strHtml, strPlace, strNew) || bChanged;
  };
  if (!has("<html")) bChanged = replaceRange(strHtml, 0, 0, "<html>");
  if (!has("</html>")) bChanged = strHtml.append("</html>") || bChanged;
  if (!has("<head")) {
    fold("<HTML>", "<html>");
    put("<html>", "<html><head>");
    if (has("<body")) {
      fold("<BODY", "<body");
      put("<body", "</head><body");
    } else {
      fold("</HTML>", "</html>");
      put("<head>", "<head></head>");
    }
  }
  if (!has("<body")) {
    fold("</HEAD>", "</head>");
    put("</head>", "</head><body>");
  }
  if (!has("</body>")) {
    fold("</HTML>", "</html>");
    put("</html>", "</body></html>");
  }
  return bChanged;
}

bool _ckHtmlHelp::addCharsetMetaTag(StringBuffer& strHtml, std::string_view strCharset,
                                    LogBase& log) {
  const LogContextExitor objContext(log, "addCharsetMetaTag");
  (void)ensureStructure(strHtml);
  ParseEngine objParse(strHtml.view());
  std::size_t nStart = 0;
  StringBuffer strHead;
  if (objParse.seek("<head")) {
    nStart = objParse.position();
    (void)objParse.seekAndCopy(">", strHead);
  }
  if (!strHead.isEmpty()) {
    const std::size_t nEnd = objParse.position();
    (void)strHead.replaceAll("/>", ">");
    (void)strHead.append("<META http-equiv=\"Content-Type\" content=\"text/html;charset=");
    (void)strHead.append(strCharset);
    (void)strHead.append("\">");
    if (replaceRange(strHtml, nStart, nEnd, strHead.view())) return true;
  }
  if (log.m_bVerbose) log.LogInfo("Failed to replace HTML head tag.");
  return false;
}

void _ckHtmlHelp::removeCharsetMetaTag(StringBuffer& strHtml) {
  ParseEngine objParse(strHtml.view());
  StringBuffer strKept;
  StringBuffer strTag;
  StringBuffer strValue;
  if (!strKept.reserve(strHtml.getSize())) return;
  std::size_t nKept = 0;
  while (objParse.seek("<meta")) {
    const std::size_t nStart = objParse.position();
    takeTag(objParse, strTag);
    getAttrValueAnywhere(strTag.view(), "HTTP-EQUIV", strValue);
    if (!strValue.equalsIgnoreCase("content-type")) continue;
    getAttrValueAnywhere(strTag.view(), "content", strValue);
    if (!strValue.containsIgnoreCase("CHARSET=")) continue;
    (void)strKept.append(strHtml.view().substr(nKept, nStart - nKept));
    nKept = objParse.position();
  }
  (void)strKept.append(strHtml.view().substr(nKept));
  if (nKept != 0) strHtml = std::move(strKept);
}

}  // namespace mail
