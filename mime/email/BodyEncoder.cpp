#include "mime/email/BodyEncoder.h"

#include <algorithm>

#include "base/AsciiText.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "mime/email/EmailWriter.h"
#include "mime/encoding/ContentCoding.h"

namespace mail {
namespace {

using code_page::kUtf8;
constexpr std::size_t kBytesOfBase64Line = ContentCoding::kDefaultLineLength / 4 * 3;

bool isContinuation(char ch) { return (static_cast<unsigned char>(ch) & 0xC0) == 0x80; }

// How much of a text is the next piece: up to the last line end in it, so that a charset with
// states is back in its first one; without a line end up to the end of a character.
std::size_t pieceOf(std::string_view strText) {
  if (strText.size() <= BodyEncoder::kPieceBytes) return strText.size();
  const std::size_t nLf = strText.rfind('\n', BodyEncoder::kPieceBytes - 1);
  if (nLf != std::string_view::npos) return nLf + 1;
  std::size_t nEnd = BodyEncoder::kPieceBytes;
  for (int n = 0; n < 3 && isContinuation(strText[nEnd]); ++n) --nEnd;
  return strText[nEnd - 1] == '\r' ? nEnd - 1 : nEnd;
}

// Hands out a text piece by piece, the last one with true, until fnPut is false.
template <class Put>
bool forEachPiece(std::string_view strText, Put fnPut) {
  do {
    const std::string_view strPiece = strText.substr(0, pieceOf(strText));
    strText.remove_prefix(strPiece.size());
    if (!fnPut(strPiece, strText.empty())) return false;
  } while (!strText.empty());
  return true;
}

}  // namespace

BodyEncoder::Encoding BodyEncoder::encodingOf(std::string_view strName) {
  if (equalsNoCase(strName, "base64")) return Encoding::kBase64;
  if (equalsNoCase(strName, "quoted-printable")) return Encoding::kQuotedPrintable;
  return Encoding::kNone;
}

bool BodyEncoder::write(std::string_view strBody, unsigned nCodePage, LogBase& log) {
  const bool bConverts = nCodePage != 0 && nCodePage != kUtf8;
  DataBuffer arrConverted;
  return forEachPiece(strBody, [&](std::string_view strPiece, bool bLast) {
    if (!bConverts) return put(strPiece, bLast);
    arrConverted.weakClear();
    (void)EncodingConvert().EncConvert(kUtf8, nCodePage, strPiece.data(), strPiece.size(),
                                       arrConverted, log);
    return put(arrConverted.view(), bLast);
  });
}

bool BodyEncoder::holds(unsigned nCodePage, std::string_view strUtf8, LogBase& log) {
  DataBuffer arrConverted;
  return forEachPiece(strUtf8, [&](std::string_view strPiece, bool) {
    arrConverted.weakClear();
    return EncodingConvert().EncConvert(kUtf8, nCodePage, strPiece.data(), strPiece.size(),
                                        arrConverted, log);
  });
}

bool BodyEncoder::put(std::string_view strBytes, bool bLast) {
  switch (m_nEncoding) {
    case Encoding::kBase64:
      return putBase64(strBytes, bLast);
    case Encoding::kQuotedPrintable:
      return putQuotedPrintable(strBytes, bLast);
    case Encoding::kNone:
      break;
  }
  return strBytes.empty() || m_objOutput.write(strBytes);
}

bool BodyEncoder::putBase64(std::string_view strBytes, bool bLast) {
  if (!m_arrWaiting.append(strBytes)) return false;
  const std::string_view strAll = m_arrWaiting.view();
  const std::size_t nLines = strAll.size() / kBytesOfBase64Line * kBytesOfBase64Line;
  const std::string_view strNow = strAll.substr(0, bLast ? strAll.size() : nLines);
  m_arrEncoded.weakClear();
  if (!ContentCoding().encodeBase64(strNow, m_arrEncoded)) return false;
  m_arrWaiting.removeHead(strNow.size());
  return m_arrEncoded.isEmpty() || m_objOutput.write(m_arrEncoded.view());
}

bool BodyEncoder::putQuotedPrintable(std::string_view strBytes, bool bLast) {
  if (!m_arrWaiting.append(strBytes)) return false;
  const std::string_view strAll = m_arrWaiting.view();
  std::size_t nNow = strAll.size();
  bool bSoftBreak = false;
  if (!bLast) {
    const std::size_t nLine = strAll.rfind("\r\n");
    // A line as long as a piece is parted by a break that decoding takes away. A CR at the end
    // waits for the LF behind it.
    bSoftBreak = nLine == std::string_view::npos;
    nNow = bSoftBreak ? nNow - (strAll.ends_with('\r') ? 1 : 0) : nLine + 2;
  }
  m_arrEncoded.weakClear();
  if (!ContentCoding().encodeQuotedPrintable(strAll.substr(0, nNow), m_arrEncoded) ||
      (bSoftBreak && !m_arrEncoded.append("=\r\n"))) {
    return false;
  }
  m_arrWaiting.removeHead(nNow);
  return m_arrEncoded.isEmpty() || m_objOutput.write(m_arrEncoded.view());
}

}  // namespace mail
