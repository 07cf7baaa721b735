#include "mime/email/EmailWriter.h"

#include <string>
#include <vector>

#include "html/charset/EncodingConvert.h"
#include "mime/email/BodyEncoder.h"
#include "mime/tree/ByteSearch.h"

namespace mail {
namespace {

constexpr int kAscii = 20127;
constexpr int kUtf8 = 65001;

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

// Text that its charset cannot hold is written as utf-8, and says so.
void widenCharset(Email2& objNode, LogBase& log) {
  const _ckCharset& objCharset = objNode.contentType().m_charset;
  const std::string_view strBody = objNode.body().view();
  if (!isWrittenAsText(objNode) || objNode.keepsBytes() || objCharset.getCodePage() == 0 ||
      objCharset.getCodePage() == kUtf8 || byte_search::is7bit(strBody)) {
    return;
  }
  const unsigned nPage = pageOfBody(objNode);
  const bool bHolds =
      nPage != 0 ? BodyEncoder::holds(nPage, strBody, log) : objCharset.getCodePage() != kAscii;
  if (bHolds) return;
  log.LogInfo(std::string("Converted email body from ")
                  .append(objCharset.getName().view())
                  .append(" to utf-8"));
  _ckCharset objUtf8;
  (void)objUtf8.setByName("utf-8");
  objNode.setBodyCharset(objUtf8, log);
}

// Another transfer encoding in the header while it is written.
class EncodingForWriting {
 public:
  EncodingForWriting(Email2& objNode, std::string_view strEncoding, LogBase& log)
      : m_objNode(objNode), m_strOld(objNode.encoding()), m_log(log) {
    set(strEncoding);
  }
  ~EncodingForWriting() { set(m_strOld.view()); }
  EncodingForWriting(const EncodingForWriting&) = delete;
  EncodingForWriting& operator=(const EncodingForWriting&) = delete;

 private:
  void set(std::string_view strEncoding) {
    m_objNode.header().replaceField(kEncodingField, strEncoding, m_log);
    m_objNode.refresh(m_log);
  }

  Email2& m_objNode;
  const StringBuffer m_strOld;
  LogBase& m_log;
};

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
  widenCharset(objNode, m_log);
  const bool bRecoded = m_nTransport == Transport::k7bit && objNode.isText() &&
                        objNode.encoding().equalsIgnoreCase("8bit");
  if (!bRecoded) return writeHeader(objNode) && writeBody(objNode);
  const EncodingForWriting objSwitched(objNode, "quoted-printable", m_log);
  return writeHeader(objNode) && writeBody(objNode);
}

bool EmailWriter::writeHeader(Email2& objNode) {
  if (objNode.type().equals("multipart/alternative")) {
    (void)objNode.header().deleteField(kEncodingField, /*bAll=*/true);
    objNode.refresh(m_log);
  }
  const int nOwn = objNode.charset().getCodePage();
  StringBuffer strHeader;
  objNode.header().emit(strHeader, nOwn != 0 ? nOwn : objNode.contentType().m_charset.getCodePage(),
                        m_log);
  return put(strHeader.view(), "Failed to write MIME header to output.") &&
         put("\r\n\r\n", "Failed to write CRLF to output.");
}

bool EmailWriter::writeBody(const Email2& objNode) {
  const auto nEncoding = objNode.isUndivided() ? BodyEncoder::Encoding::kNone
                                               : BodyEncoder::encodingOf(objNode.encoding().view());
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
