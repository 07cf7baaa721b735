#include <algorithm>

#include "archive/Mhtml.h"
#include "archive/TagPass.h"
#include "base/LogContextExitor.h"
#include "html/CkHtmlHelp.h"

namespace mail {

// "<!--#include file="foot.html" -->", as a server would put it together. A file in its own chain
// of includes, and one too deep, vanishes as one that is not there does.
void Mhtml::processIncludes(StringBuffer& strHtml, std::vector<std::string>& arrChain,
                            LogBase& log) {
  bool bTagEnds = true;
  rewriteBlocks(strHtml, "<!--#include", "-->",
                [&](std::string_view strBlock, bool bClosed, StringBuffer& strOut) {
                  if (bClosed) {  // the dashes would belong to a name without quotes
                    const std::string strTag(strBlock.substr(0, strBlock.size() - 3));
                    includeFile(strTag + ">", arrChain, strOut, log);
                    return strBlock.size();
                  }
                  const std::size_t nEnd = bTagEnds ? strBlock.find('>') : std::string_view::npos;
                  bTagEnds = nEnd != std::string_view::npos;
                  const std::size_t nTaken = bTagEnds ? nEnd + 1 : 1;
                  (void)strOut.append(strBlock.substr(0, nTaken));
                  return nTaken;
                });
}

void Mhtml::includeFile(std::string_view strTag, std::vector<std::string>& arrChain,
                        StringBuffer& strOut, LogBase& log) {
  StringBuffer strClean;
  StringBuffer strName;
  _ckHtmlHelp::cleanHtmlTag(strTag, strClean);
  _ckHtmlHelp::getAttrValue(strClean.view(), "file", strName);
  const LogContextExitor objContext(log, "ssinclude");
  log.LogData("filename", strName.view());
  if (strName.isEmpty() || arrChain.size() >= kMaxIncludeDepth) return;
  const auto strPath = findLocal(std::string(strName.view()));
  if (!strPath) return;
  const std::string strCanonical = LocalFiles::canonicalPath(*strPath);
  if (std::ranges::find(arrChain, strCanonical) != arrChain.end()) return;
  log.LogData("loadingIncludeFile", ansiToUtf8(*strPath));
  DataBuffer arrBytes;
  if (!m_files.load(*strPath, arrBytes) || !spendBrought(arrBytes.getSize())) return;
  StringBuffer strText(arrBytes.view());
  arrChain.push_back(strCanonical);
  processIncludes(strText, arrChain, log);
  arrChain.pop_back();
  (void)strOut.append(strText);
}

}  // namespace mail
