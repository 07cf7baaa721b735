#include "html/HtmlTreeXml.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <unordered_set>

#include "base/AsciiText.h"
#include "html/CkHtmlHelp.h"

namespace mail {
namespace {

using Index = HtmlTree::Index;
constexpr std::size_t kNone = std::string_view::npos;

void putText(std::string_view strText, std::string& strOut) {
  constexpr std::string_view kNbsp = "\xC2\xA0";
  for (std::size_t n = 0; n < strText.size(); ++n) {
    const auto ch = static_cast<unsigned char>(strText[n]);
    if (ch == '&') {
      strOut += "&amp;";
    } else if (ch == '<') {
      strOut += "&lt;";
    } else if (ch == '>') {
      strOut += "&gt;";
    } else if (ch == '"') {
      strOut += "&quot;";
    } else if (ch == '\r') {
      strOut += "&#13;";  // which a reader would take for a line end
    } else if (strText.substr(n, kNbsp.size()) == kNbsp) {
      strOut += "&#160;";
      ++n;
    } else if (strText.substr(n, 2) == "\xEF\xBF" && (strText.substr(n + 2, 1) >= "\xBE")) {
      n += 2;  // U+FFFE and U+FFFF
    } else if (ch >= 0x20 || ch == '\t' || ch == '\n') {
      strOut += static_cast<char>(ch);
    }
  }
}

void putName(std::string_view strName, std::string& strOut) {
  const auto isNameStart = [](char ch) { return isAsciiLetter(ch) || ch == '_'; };
  const auto isNamePart = [&](char ch) {
    return isNameStart(ch) || (ch >= '0' && ch <= '9') || ch == '-' || ch == '.';
  };
  const bool bStart = !strName.empty() && (isNameStart(strName[0]) || !isNamePart(strName[0]));
  if (!bStart) strOut += '_';
  for (const char ch : strName) strOut += isNamePart(ch) ? ch : '_';
}

// The attributes of a clean tag, each with its value in quotes or without one.
void putAttributes(std::string_view strTag, std::string& strOut) {
  std::unordered_set<std::string> setNames;
  std::size_t n = strTag.find(' ');
  while (n != kNone && n + 1 < strTag.size()) {
    const std::size_t nName = n + 1;
    const std::size_t nEnd = std::min(strTag.find_first_of(" =>", nName), strTag.size());
    std::string_view strValue;
    n = nEnd;
    if (nEnd + 1 < strTag.size() && strTag[nEnd] == '=') {
      const char chQuote = strTag[nEnd + 1];
      n = std::min(strTag.find(chQuote, nEnd + 2), strTag.size());
      strValue = strTag.substr(nEnd + 2, n - nEnd - 2);
    }
    n = strTag.find(' ', n);
    if (nEnd == nName || strTag.substr(nName, nEnd - nName) == "/") continue;
    std::string strName;
    putName(strTag.substr(nName, nEnd - nName), strName);
    std::transform(strName.begin(), strName.end(), strName.begin(), toLowerAscii);
    if (!setNames.insert(strName).second) continue;
    StringBuffer strDecoded(strValue);
    _ckHtmlHelp::decodeEntities(strDecoded);
    strOut += ' ' + strName + "=\"";
    putText(strDecoded.view(), strOut);
    strOut += '"';
  }
}

void open(const HtmlTree& objTree, Index nNode, std::string& strOut) {
  const HtmlTree::Node& objNode = objTree.at(nNode);
  if (objNode.nTag != HtmlTree::kVerbatimTag) {
    strOut += '<';
    putName(objTree.tagName(nNode), strOut);
    if (objTree.isElement(nNode)) {
      StringBuffer strRaw(objNode.strText);
      (void)strRaw.appendChar('>');
      StringBuffer strTag;
      _ckHtmlHelp::cleanHtmlTag(strRaw.view(), strTag);
      putAttributes(strTag.view(), strOut);
    }
    strOut += '>';
  }
  if (!objTree.isElement(nNode)) putText(objNode.strText, strOut);
}

void close(const HtmlTree& objTree, Index nNode, std::string& strOut) {
  if (objTree.at(nNode).nTag == HtmlTree::kVerbatimTag) return;
  strOut += "</";
  putName(objTree.tagName(nNode), strOut);
  strOut += '>';
}

}  // namespace

void writeXml(const HtmlTree& objTree, std::string& strOut) {
  Index nNode = HtmlTree::kRoot;
  for (;;) {
    open(objTree, nNode, strOut);
    if (objTree.at(nNode).nFirstChild != HtmlTree::kNone) {
      nNode = objTree.at(nNode).nFirstChild;
      continue;
    }
    for (;;) {
      close(objTree, nNode, strOut);
      if (nNode == HtmlTree::kRoot) return;
      if (objTree.at(nNode).nNext != HtmlTree::kNone) break;
      nNode = objTree.at(nNode).nParent;
    }
    nNode = objTree.at(nNode).nNext;
  }
}

}  // namespace mail
