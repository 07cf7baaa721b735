#include "mime/tree/MimeInput.h"

#include <string>

#include "html/charset/EncodingConvert.h"
#include "mime/base/DataBuffer.h"

namespace mail {
namespace {

// UTF-16 with its mark, and text that begins in ASCII.
bool isUtf16File(std::string_view strBytes) {
  return strBytes.size() > 4 && strBytes.starts_with("\xFF\xFE") && strBytes[3] == '\0';
}

// The boundary in a text that begins with a delimiter line in the place of a header; empty if it
// does not.
std::string_view leadingBoundary(std::string_view strBytes) {
  const std::size_t nStart = strBytes.find_first_not_of(" \t\r\n");
  if (nStart == std::string_view::npos) return {};
  const std::string_view strText = strBytes.substr(nStart);
  const std::size_t nEnd = strText.find_first_of("\r\n");
  if (!strText.starts_with("--") || nEnd == std::string_view::npos) return {};
  return strText.substr(2, nEnd - 2);
}

// The header that such a text lacks, up to and with its blank line.
std::string headerFor(std::string_view strBoundary, char chFirst) {
  std::string strHeader = "Content-Type: multipart/mixed;\r\n\tboundary=\"";
  strHeader.append(strBoundary).append("\"\r\n");
  return strHeader.append(chFirst == '\n' ? "\r" : chFirst == '\r' ? "" : "\r\n");
}

// Puts the header that a text of that boundary lacks in front of it.
bool addHeader(std::string_view strBoundary, std::string_view strBytes, DataBuffer& arrWhole) {
  const std::string strHeader = headerFor(strBoundary, strBytes.front());
  return arrWhole.reserve(strHeader.size() + strBytes.size()) && arrWhole.append(strHeader) &&
         arrWhole.append(strBytes);
}

}  // namespace

bool loadMimeInput(MimeMessage2& objRoot, std::string_view strBytes, LogBase& log,
                   MimeMessage2::LoadOptions objOptions) {
  DataBuffer arrUtf8;
  if (isUtf16File(strBytes)) {
    log.LogInfo("Converting from unicode...");
    (void)EncodingConvert().EncConvert(1200, 65001, strBytes.data() + 2, strBytes.size() - 2,
                                       arrUtf8, log);
    strBytes = arrUtf8.view();
    objOptions.bUtf8 = true;
  }
  DataBuffer arrWhole;
  const std::string_view strBoundary = leadingBoundary(strBytes);
  if (!strBoundary.empty()) {
    if (!addHeader(strBoundary, strBytes, arrWhole)) return false;
    strBytes = arrWhole.view();
  }
  return objRoot.loadMimeComplete(strBytes, objOptions, log);
}

}  // namespace mail
