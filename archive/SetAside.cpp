#include "archive/SetAside.h"

#include <utility>

#include "base/AsciiText.h"

namespace mail {
namespace {

void putBackInto(StringBuffer& strHtml, std::string_view strPlace,
                 const std::vector<std::string>& arrBlocks) {
  const std::string_view strText = strHtml.view();
  StringBuffer strOut;
  std::size_t nCopied = 0;
  for (const std::string& strBlock : arrBlocks) {
    const std::size_t nFound = findBytes(strText, strPlace, nCopied);
    if (nFound == std::string_view::npos) break;
    (void)strOut.append(strText.substr(nCopied, nFound - nCopied));
    (void)strOut.append(strBlock);
    nCopied = nFound + strPlace.size();
  }
  if (nCopied == 0) return;
  (void)strOut.append(strText.substr(nCopied));
  strHtml = std::move(strOut);
}

}  // namespace

void SetAside::putBack(StringBuffer& strHtml) const {
  putBackInto(strHtml, kScriptPlace, arrScripts);
  putBackInto(strHtml, kStylePlace, arrStyles);
}

}  // namespace mail
