#include "mime/email/EmailWriter.h"

#include <string>
#include <vector>

#include "base/ByteSearch.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "mime/email/BodyEncoder.h"
#include "mime/header/TemporaryField.h"

namespace mail {
namespace {

using code_page::kAscii;
using code_page::kUtf8;

constexpr std::string_view kEncodingField = "Content-Transfer-Encoding";

bool isWrittenAsText(const Email2& objNode) {
  return objNode.isText() ||
         (objNode.partCount() == 0 &&
          (objNode.type().contains("application/xml") || objNode.isConverted()));
}

// The page that a body is converted to; 0 for one that goes out as it is.
unsigned pageOfBody(const Email2& objNode) {
  const int nPage = objNode.contentType().m_charset.getCodePage();
  const bool bAsItIs = nPage == kAscii || nPage == kUtf8 || !isWrittenAsText(objNode) ||
                       objNode.keepsBytes() || !byte_search::isUtf8(objNode.body().view());
  return bAsItIs ? 0 : static_cast<unsigned>(nPage);
}

bool isReadAsText(const Email2& objNode) {
  return objNode.isText() || (objNode.partCount() == 0 && objNode.type().isEmpty());
}

// Whether text without a known charset is UTF-8 here.
bool isNamelessUtf8(const Email2& objNode) {
  if (objNode.isConverted()) return true;
  // Bytes as they came keep the name that they came with, if only because nobody knows it.
  return isReadAsText(objNode) && objNode.contentType().m_unknownCharset.isEmpty() &&
         byte_search::isUtf8(objNode.body().view());
}

bool holdsBody(const Email2& objNode, LogBase& log) {
  const unsigned nPage = pageOfBody(objNode);
  if (nPage != 0) return BodyEncoder::holds(nPage, objNode.body().view(), log);
  return objNode.contentType().m_charset.getCodePage() != kAscii;
}

// Text says what it is written in: utf-8 where its charset cannot hold it, and where it has none.
void nameCharset(Email2& objNode, LogBase& log) {
  const _ckCharset& objCharset = objNode.contentType().m_charset;
  const int nPage = objCharset.getCodePage();
  if (objNode.keepsBytes() || nPage == kUtf8 || byte_search::is7bit(objNode.body().view())) return;
  if (nPage == 0) {
    if (!isNamelessUtf8(objNode)) return;
    log.LogInfo("Named the charset of the email body: utf-8");
  } else {
    if (!isWrittenAsText(objNode) || holdsBody(objNode, log)) return;
    log.LogInfo(std::string("Converted email body from ")
                    .append(objCharset.getName().view())
                    .append(" to utf-8"));
  }
  _ckCharset objUtf8;
  (void)objUtf8.setByName("utf-8");
  objNode.setBodyCharset(objUtf8, log);
}

}  // namespace

bool EmailWriter::write(Email2& objRoot) {
  struct Open {
    Email2* pNode;
    std::size_t nNext;
  };
  if (!objRoot.isValid()) return false;
  if (objRoot.partCount() == 0) return writeLeaf(objRoot);
  if (!writeHeader(objRoot)) return false;
  std::vector<Open> arrOpen = {{&objRoot, 0}};
  while (!arrOpen.empty()) {
    Email2& objNode = *arrOpen.back().pNode;
    Email2* const pPart = objNode.part(arrOpen.back().nNext++);
    if (pPart == nullptr) {
      arrOpen.pop_back();
      if (!writeDelimiter(objNode, "--\r\n") || (!arrOpen.empty() && !writeLineEnd())) return false;
      continue;
    }
    if (!writeDelimiter(objNode, "\r\n")) return false;
    const bool bLeaf = pPart->partCount() == 0 || !pPart->rawPart().isEmpty();
    if (!(bLeaf ? writeLeaf(*pPart) && writeLineEnd() : writeHeader(*pPart))) return false;
    if (!bLeaf) arrOpen.push_back({pPart, 0});
  }
  return true;
}

bool EmailWriter::writeLeaf(Email2& objNode) {
  // What was signed goes out as it came, byte for byte.
  if (!objNode.rawPart().isEmpty()) return m_objOutput.write(objNode.rawPart().view());
  nameCharset(objNode, m_log);
  const bool bRecoded = m_nTransport == Transport::k7bit && objNode.isText() &&
                        objNode.encoding().equalsIgnoreCase("8bit");
  if (!bRecoded) return writeHeader(objNode) && writeBody(objNode, objNode.encoding().view());
  constexpr std::string_view kEncoding = "quoted-printable";
  const TemporaryField objSwitched(objNode.header(), kEncodingField, kEncoding, m_log);
  return objSwitched.isSet() && writeHeader(objNode) && writeBody(objNode, kEncoding);
}

bool EmailWriter::writeHeader(Email2& objNode) {
  const bool bChanged = objNode.type().equals("multipart/alternative") &&
                        objNode.header().deleteField(kEncodingField, /*bAll=*/true) > 0;
  if (bChanged) objNode.refresh(m_log);
  const int nOwn = objNode.charset().getCodePage();
  StringBuffer strHeader;
  objNode.header().emit(strHeader, nOwn != 0 ? nOwn : objNode.contentType().m_charset.getCodePage(),
                        m_log);
  return put(strHeader.view(), "Failed to write MIME header to output.") &&
         put("\r\n\r\n", "Failed to write CRLF to output.");
}

bool EmailWriter::writeBody(const Email2& objNode, std::string_view strEncoding) {
  const auto nEncoding =
      objNode.isUndivided() ? BodyEncoder::Encoding::kNone : BodyEncoder::encodingOf(strEncoding);
  return BodyEncoder(m_objOutput, nEncoding)
      .write(objNode.body().view(), pageOfBody(objNode), m_log);
}

bool EmailWriter::writeDelimiter(const Email2& objNode, std::string_view strTail) {
  constexpr std::string_view kFailure = "Failed to write boundary to output.";
  return put("--", kFailure) && put(objNode.contentType().m_boundary.view(), kFailure) &&
         put(strTail, kFailure);
}

bool EmailWriter::writeLineEnd() { return put("\r\n", "Failed to write CRLF to output."); }

bool EmailWriter::put(std::string_view strBytes, std::string_view strFailure) {
  if (strBytes.empty() || m_objOutput.write(strBytes)) return true;
  m_log.LogError(strFailure);
  return false;
}

std::string_view bodyForFile(const Email2& objNode, DataBuffer& arrRoom, LogBase& log) {
  const std::string_view strBody = objNode.body().view();
  const unsigned nPage = pageOfBody(objNode);
  if (nPage == 0 || strBody.empty()) return strBody;
  arrRoom.clear();
  const bool bDone =
      EncodingConvert().EncConvert(kUtf8, nPage, strBody.data(), strBody.size(), arrRoom, log);
  return bDone ? arrRoom.view() : strBody;
}

}  // namespace mail
