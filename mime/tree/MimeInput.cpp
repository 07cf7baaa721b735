#include "mime/tree/MimeInput.h"

#include <string>

#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "mime/tree/MimeLoader.h"

namespace mail {
namespace {

using code_page::kUtf16;
using code_page::kUtf16BigEndian;
using code_page::kUtf8;
constexpr std::size_t kMarkSize = 2;  // bytes
constexpr std::size_t kProbe = 16;    // bytes that show UTF-16 without a mark

bool isAsciiByte(char ch) { return ch != '\0' && static_cast<unsigned char>(ch) < 0x80; }

// The page of UTF-16 text that begins in ASCII, as a mail does; 0 for any other text.
unsigned pageOfUtf16(std::string_view strBytes) {
  if (strBytes.size() > 4 && strBytes.starts_with("\xFF\xFE")) {
    return strBytes[3] == '\0' ? kUtf16 : 0;
  }
  if (strBytes.size() > 4 && strBytes.starts_with("\xFE\xFF")) {
    return strBytes[2] == '\0' ? kUtf16BigEndian : 0;
  }
  if (strBytes.size() < kProbe) return 0;
  const std::size_t nAscii = strBytes[0] == '\0' ? 1 : 0;  // its place in each pair
  for (std::size_t n = 0; n < kProbe; n += 2) {
    if (!isAsciiByte(strBytes[n + nAscii]) || strBytes[n + 1 - nAscii] != '\0') return 0;
  }
  return nAscii == 0 ? kUtf16 : kUtf16BigEndian;
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

bool utf8OfUtf16Mail(std::string_view strBytes, DataBuffer& arrUtf8, LogBase& log) {
  const unsigned nPage = pageOfUtf16(strBytes);
  if (nPage == 0) return false;
  log.LogInfo("Converting from unicode...");
  if (!isAsciiByte(strBytes[0]) && strBytes[0] != '\0') strBytes.remove_prefix(kMarkSize);
  (void)EncodingConvert().EncConvert(nPage, kUtf8, strBytes.data(), strBytes.size(), arrUtf8, log);
  return true;
}

bool loadMimeInput(MimeMessage2& objRoot, std::string_view strBytes, LogBase& log,
                   MimeMessage2::LoadOptions objOptions, AsciiLabel eAscii) {
  DataBuffer arrUtf8;
  if (utf8OfUtf16Mail(strBytes, arrUtf8, log)) {
    strBytes = arrUtf8.view();
    objOptions.bUtf8 = true;
  }
  DataBuffer arrWhole;
  const std::string_view strBoundary = leadingBoundary(strBytes);
  if (!strBoundary.empty()) {
    if (!addHeader(strBoundary, strBytes, arrWhole)) return false;
    strBytes = arrWhole.view();
  }
  if (eAscii == AsciiLabel::kTrusted) return objRoot.loadMimeComplete(strBytes, objOptions, log);
  return MimeLoader(objOptions, log, /*bDoubtsAscii=*/true).load(objRoot, strBytes);
}

}  // namespace mail
