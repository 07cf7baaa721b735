#include "mime/tree/LineConversion.h"

#include <algorithm>
#include <array>

#include "base/LogNull.h"

namespace mail::line_conversion {
namespace {

constexpr unsigned kUtf8 = 65001;

}  // namespace

bool isAsciiPage(int nPage) {
  static constexpr std::array kOthers = {874, 932, 936, 949, 950, 20866, 21866, 51932, 51949};
  return (nPage >= 1250 && nPage <= 1258) || (nPage >= 28591 && nPage <= 28605) ||
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
