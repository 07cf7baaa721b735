#include "mime/tree/LineConversion.h"

#include <algorithm>
#include <array>

#include "base/LogNull.h"
#include "charset/CodePages.h"

namespace mail::line_conversion {

using namespace code_page;

bool isAsciiPage(int nPage) {
  static constexpr std::array kOthers = {kThai,  kShiftJis, kGbk,   kKorean, kBig5,
                                         kKoi8R, kKoi8U,    kEucJp, kEucKr};
  return isWindowsOrIso8859(static_cast<unsigned>(nPage)) ||
         std::find(kOthers.begin(), kOthers.end(), nPage) != kOthers.end();
}

bool toUtf8(EncodingConvert& objConvert, int nPage, const PassingBytes& objText, DataBuffer& out,
            LogBase& log) {
  const auto nFrom = static_cast<unsigned>(nPage);
  const std::string_view strText = objText.strBytes;
  if (!isAsciiPage(nPage) || EncodingConvert::beginsAsPdf(strText)) {
    return objConvert.EncConvert(nFrom, kUtf8, strText.data(), strText.size(), out, log);
  }
  LogNull objSilent;  // the log tells it once
  LogBase* pLog = &log;
  bool bHadErrors = false;
  const bool bAll = objText.takeLines("\n", [&](std::string_view strLines) {
    const bool bDone =
        objConvert.convertText(nFrom, kUtf8, strLines.data(), strLines.size(), out, *pLog);
    bHadErrors = bHadErrors || objConvert.m_hadErrors;
    pLog = &objSilent;
    return bDone;
  });
  objConvert.m_hadErrors = bHadErrors;
  return bAll;
}

}  // namespace mail::line_conversion
