#include "html/CkHtmlHelp.h"

#include <string>

#include "base/AsciiText.h"
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

void _ckHtmlHelp::getAttrValueAnywhere(std::string_view strTag, std::string_view strName,
                                       StringBuffer& strOut) {
  strOut.clear();
  for (const char chQuote : kQuotes) {
    const std::string strStart = std::string(strName) + '=' + chQuote;
    const std::size_t nFound = findNoCase(strTag, strStart);
    if (nFound == std::string_view::npos) continue;
    const auto strRest = strTag.substr(nFound + strStart.size());
    (void)strOut.setString(strRest.substr(0, strRest.find(chQuote)));
    strOut.trim();
    strOut.replaceAnyOf("\\", '/');
    return;
  }
}

void _ckHtmlHelp::charsetFromMetaTag(std::string_view strHtml, StringBuffer& strOut) {
  strOut.clear();
  ParseEngine objParse(strHtml);
  StringBuffer strRaw;
  StringBuffer strTag;
  bool bAny = false;
  while (objParse.seek("<meta")) {
    bAny = true;
    strRaw.weakClear();
    objParse.captureToUnquoted('>', strRaw);
    (void)strRaw.appendChar('>');
    cleanHtmlTag(strRaw.view(), strTag);
    charsetOfTag(strTag.view(), strOut);
    if (!strOut.isEmpty()) return;
  }
  if (!bAny) charsetOfXmlDeclaration(strHtml, strOut);
}

}  // namespace mail
