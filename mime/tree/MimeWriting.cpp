#include "mime/tree/MimeWriting.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/ByteSearch.h"
#include "base/LogNull.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/tree/PassingBytes.h"

namespace mail {
namespace {

using code_page::kAscii;
using code_page::kLatin1;
using code_page::kUtf8;

constexpr std::size_t kBytesOfBase64Line = ContentCoding::kDefaultLineLength / 4 * 3;
constexpr std::size_t kMaxWrittenDepth = MimeMessage2::kMaxDepth + 100;
constexpr std::size_t kBinaryProbe = 10000;  // bytes at the front that show a body to be binary
constexpr std::string_view kEncodingField = "Content-Transfer-Encoding";
constexpr std::string_view kPreamble = "This is a multi-part message in MIME format.\r\n\r\n";

// By its type, or because it was read as text without one: a multipart that could not be divided,
// or an entity with a charset and no type.
bool isWrittenAsText(const MimeMessage2& objEntity) {
  const StringBuffer& strType = objEntity.contentType();
  return strType.beginsWith("text/") || strType.contains("application/xml") ||
         objEntity.isConverted();
}

bool hasEncoding(const MimeMessage2& objEntity, std::string_view strEncoding) {
  return objEntity.encoding().equalsIgnoreCase(strEncoding);
}

bool isKeptInText(const StringBuffer& strType) {
  static constexpr std::array<std::string_view, 3> kTypes = {"message/rfc822", "application/xml",
                                                             "application/json"};
  return strType.beginsWith("text/") ||
         std::find(kTypes.begin(), kTypes.end(), strType.view()) != kTypes.end();
}

bool spoilsText(const MimeMessage2& objEntity) {
  return objEntity.partCount() == 0 && !objEntity.isUndivided() &&
         !isKeptInText(objEntity.contentType()) &&
         (objEntity.encoding().isEmpty() || hasEncoding(objEntity, "binary")) &&
         !byte_search::is7bit(objEntity.body().view().substr(0, kBinaryProbe));
}

// Whether the headers of a tree can be read in that page: not in UTF-16, nor in EBCDIC.
bool holdsAscii(int nPage) {
  LogNull log;
  DataBuffer arrUtf8;
  return nPage == 0 ||
         (EncodingConvert().EncConvert(static_cast<unsigned>(nPage), kUtf8, kPreamble.data(),
                                       kPreamble.size(), arrUtf8, log) &&
          arrUtf8.view() == kPreamble);
}

}  // namespace

bool MimeWriter::writeEntity(const MimeMessage2& objEntity, std::size_t nDepth) {
  StringBuffer strHeader;
  objEntity.m_header.emit(strHeader, objEntity.charset().getCodePage(), m_log);
  if (!m_out.append(strHeader) || !m_out.append("\r\n\r\n", 4)) return false;
  if (objEntity.partCount() > 0 && objEntity.m_bPreamble && !m_out.append(kPreamble)) return false;
  return writeBody(objEntity, nDepth);
}

bool MimeWriter::writeBody(const MimeMessage2& objEntity, std::size_t nDepth) {
  if (objEntity.partCount() == 0) return writeLeaf(objEntity);
  if (nDepth < kMaxWrittenDepth) return writeParts(objEntity, nDepth);
  m_log.LogError("Nested too deeply: the parts of an entity were left out.");
  return true;
}

bool MimeWriter::writeParts(const MimeMessage2& objEntity, std::size_t nDepth) {
  const bool bPgpSigned = objEntity.isPgpSigned();
  for (std::size_t n = 0; n < objEntity.partCount(); ++n) {
    const MimeMessage2& objPart = *objEntity.part(n);
    if (!writeDelimiter(objEntity, "\r\n")) return false;
    // What was signed goes out as it came, byte for byte.
    const bool bRaw = bPgpSigned && n == 0 && !objPart.m_rawPart.isEmpty();
    const bool bWritten = bRaw ? m_out.append(objPart.m_rawPart) : writeEntity(objPart, nDepth + 1);
    if (!bWritten || !m_out.append("\r\n", 2)) return false;
  }
  return writeDelimiter(objEntity, "--\r\n");
}

bool MimeWriter::writeDelimiter(const MimeMessage2& objEntity, std::string_view strTail) {
  return m_out.append("--", 2) && m_out.append(objEntity.boundary()) && m_out.append(strTail);
}

bool MimeWriter::writeLeaf(const MimeMessage2& objEntity) {
  // Still encoded, if its header says so.
  if (objEntity.isUndivided()) return m_out.append(objEntity.m_body);
  DataBuffer arrRoom;
  const std::string_view strBody = isWrittenAsText(objEntity)
                                       ? bodyInCharset(objEntity, arrRoom, m_log)
                                       : objEntity.m_body.view();
  const PassingBytes objBody{strBody, PassingBytes::lastOf(arrRoom).bGivenUp};
  if (hasEncoding(objEntity, "base64")) {
    const std::size_t nRoom = strBody.size() + strBody.size() / 2;  // it takes a little less
    return m_out.reserve(nRoom) &&
           objBody.takeBlocks(kBytesOfBase64Line, [&](std::string_view strBlocks) {
             return ContentCoding().encodeBase64(strBlocks, m_out);
           });
  }
  if (hasEncoding(objEntity, "quoted-printable")) {
    return objBody.takeLines("\r\n", [&](std::string_view strLines) {
      return ContentCoding().encodeQuotedPrintable(strLines, m_out);
    });
  }
  return m_out.reserve(strBody.size()) &&
         objBody.takeLines("\n", [&](std::string_view strLines) { return m_out.append(strLines); });
}

std::string_view MimeWriter::bodyInCharset(const MimeMessage2& objEntity, DataBuffer& arrRoom,
                                           LogBase& log) {
  const std::string_view strBody = objEntity.m_body.view();
  int nPage = objEntity.charset().getCodePage();
  const bool bAsItCame = objEntity.m_bUnconverted || objEntity.m_bUndivided;
  if (nPage == 0 || nPage == kUtf8 || bAsItCame) return strBody;
  if (nPage == kAscii) nPage = kLatin1;
  const bool bConverted = EncodingConvert().EncConvert(
      kUtf8, static_cast<unsigned>(nPage), strBody.data(), strBody.size(), arrRoom, log);
  // Text for a page that the library cannot write goes out as it is.
  return bConverted || !arrRoom.isEmpty() ? arrRoom.view() : strBody;
}

std::vector<MimeMessage2*> entitiesOf(MimeMessage2& objRoot) {
  std::vector<MimeMessage2*> arrEntities;
  std::vector<MimeMessage2*> arrOpen = {&objRoot};
  while (!arrOpen.empty()) {
    MimeMessage2* const pEntity = arrOpen.back();
    arrOpen.pop_back();
    arrEntities.push_back(pEntity);
    for (std::size_t n = pEntity->partCount(); n-- > 0;) arrOpen.push_back(pEntity->part(n));
  }
  return arrEntities;
}

BinaryAsBase64::BinaryAsBase64(MimeMessage2& objRoot, LogBase& log) {
  for (MimeMessage2* pEntity : entitiesOf(objRoot)) {
    if (!spoilsText(*pEntity)) continue;
    const TempEncoding nOld = pEntity->encoding().isEmpty() ? kWasNone : kWasBinary;
    TemporaryField objField(pEntity->m_header, kEncodingField, "base64", log);
    if (!objField.isSet()) continue;
    m_arrSwitched.push_back({pEntity, std::move(objField)});
    pEntity->m_nTempEncoding = nOld;
    pEntity->refreshEncoding();
  }
}

BinaryAsBase64::~BinaryAsBase64() {
  for (auto& [pEntity, objField] : m_arrSwitched) {
    objField.restore();
    pEntity->refreshEncoding();
    pEntity->m_nTempEncoding = kNotTemporary;
  }
}

int pageOfWrittenText(MimeMessage2& objRoot) {
  for (const MimeMessage2* pEntity : entitiesOf(objRoot)) {
    const bool bAsItIs = pEntity->encoding().isEmpty() || hasEncoding(*pEntity, "8bit") ||
                         hasEncoding(*pEntity, "binary");
    if (pEntity->partCount() > 0 || !bAsItIs || !isWrittenAsText(*pEntity) ||
        byte_search::is7bit(pEntity->body().view())) {
      continue;
    }
    const int nPage = pEntity->charset().getCodePage();
    if (!holdsAscii(nPage)) continue;
    return nPage == 0 ? kUtf8 : nPage == kAscii ? kLatin1 : nPage;
  }
  return 0;
}

}  // namespace mail
