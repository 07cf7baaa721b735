#include "archive/TagPass.h"

#include <algorithm>
#include <utility>

#include "base/AsciiText.h"
#include "html/CkHtmlHelp.h"
#include "html/ParseEngine.h"

namespace mail {
namespace {

// The index of the ">" that ends the tag at nStart; the size of the text without one. Only a window
// is searched for one outside quotes, so that tags by the million whose quotes do not match stay
// cheap.
std::size_t endOfTag(std::string_view strText, std::size_t nStart) {
  const std::string_view strWindow = strText.substr(nStart, kMaxTagBytes + 1);
  ParseEngine objParse(strWindow);
  StringBuffer strCaptured;
  objParse.captureToUnquotedIso('>', strCaptured);
  if (!objParse.atEnd()) return nStart + objParse.position();
  return std::min(strText.find('>', nStart), strText.size());
}

}  // namespace

bool rewriteTags(StringBuffer& strHtml, std::string_view strNeedle, const TagRewrite& fnRewrite) {
  const std::string_view strText = strHtml.view();
  if (findNoCase(strText, strNeedle) == std::string_view::npos) return true;
  StringBuffer strOut;
  StringBuffer strClean;
  (void)strOut.reserve(strText.size());
  std::size_t nCopied = 0;
  bool bWhole = true;
  for (;;) {
    const std::size_t nStart = findNoCase(strText, strNeedle, nCopied);
    if (nStart == std::string_view::npos) break;
    const std::size_t nEnd = endOfTag(strText, nStart);
    bWhole = nEnd < strText.size();
    if (!bWhole) break;
    (void)strOut.append(strText.substr(nCopied, nStart - nCopied));
    nCopied = nEnd + 1;
    const std::string_view strRaw = strText.substr(nStart, nCopied - nStart);
    _ckHtmlHelp::cleanHtmlTag(strRaw, strClean);
    const bool bKeep = fnRewrite(strRaw, strClean) == TagResult::kKeep;
    (void)strOut.append(bKeep ? strRaw : strClean.view());
  }
  (void)strOut.append(strText.substr(nCopied));
  strHtml = std::move(strOut);
  return bWhole;
}

void rewriteBlocks(StringBuffer& strHtml, std::string_view strStart, std::string_view strEnd,
                   const BlockRewrite& fnRewrite) {
  const std::string_view strText = strHtml.view();
  std::size_t nFound = findNoCase(strText, strStart);
  if (nFound == std::string_view::npos) return;
  StringBuffer strOut;
  (void)strOut.reserve(strText.size());
  std::size_t nCopied = 0;
  bool bEnds = true;  // whether there is an end tag further down
  while (nFound != std::string_view::npos) {
    (void)strOut.append(strText.substr(nCopied, nFound - nCopied));
    const std::size_t nEnd = bEnds ? findNoCase(strText, strEnd, nFound) : std::string_view::npos;
    bEnds = nEnd != std::string_view::npos;
    const std::string_view strBlock =
        strText.substr(nFound, bEnds ? nEnd + strEnd.size() - nFound : std::string_view::npos);
    nCopied = nFound + std::max<std::size_t>(fnRewrite(strBlock, bEnds, strOut), 1);
    nFound = findNoCase(strText, strStart, nCopied);
  }
  (void)strOut.append(strText.substr(nCopied));
  strHtml = std::move(strOut);
}

}  // namespace mail
