#include "mime/email/ClsEmail.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "base/ClsOperation.h"
#include "base/LibraryFiles.h"
#include "base/LogNull.h"
#include "base/MemoryShortage.h"
#include "charset/UnicodeInfo.h"
#include "mime/email/EmailBodies.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailWriter.h"
#include "mime/encoding/ContentCoding.h"

namespace mail {
namespace {

constexpr std::size_t kMaxUtf8Bytes = 4;  // of one character

bool isMimeText(std::string_view strUtf8) {
  if (strUtf8.size() > ClsEmail::kMaxPathCharacters * kMaxUtf8Bytes) return true;
  const auto nCharacters = std::count_if(strUtf8.begin(), strUtf8.end(), [](char ch) {
    return (static_cast<unsigned char>(ch) & 0xC0) != 0x80;
  });
  return static_cast<std::size_t>(nCharacters) > ClsEmail::kMaxPathCharacters ||
         findNoCase(strUtf8, "MIME-Version:") != std::string_view::npos;
}

// A file that is written in blocks.
class FileOutput : public EmailOutput {
 public:
  explicit FileOutput(platform::File& objFile) : m_objFile(objFile) {}

  bool write(std::string_view strBytes) override {
    if (strBytes.size() >= kBlockBytes) return flush() && writeNow(strBytes);
    if (m_arrBlock.getSize() + strBytes.size() > kBlockBytes && !flush()) return false;
    return m_arrBlock.append(strBytes);
  }
  bool flush() {
    const bool bWritten = m_arrBlock.isEmpty() || writeNow(m_arrBlock.view());
    m_arrBlock.weakClear();
    return bWritten;
  }

 private:
  static constexpr std::size_t kBlockBytes = 64 * 1024;

  bool writeNow(std::string_view strBytes) {
    return m_objFile.Write(
        {reinterpret_cast<const unsigned char*>(strBytes.data()), strBytes.size()});
  }

  platform::File& m_objFile;
  DataBuffer m_arrBlock;
};

// "Last, First <a@b>" with the name in quotes, so that its comma does not begin another address.
void quoteNameWithComma(StringBuffer& strFrom) {
  const std::string_view strText = strFrom.view();
  const std::size_t nAddress = strText.find('<');
  if (nAddress == std::string_view::npos || strText.find(',') == std::string_view::npos) return;
  StringBuffer strName(trimmed(strText.substr(0, nAddress)));
  strName.removeChar('"');
  StringBuffer strQuoted("\"");
  (void)strQuoted.append(strName);
  (void)strQuoted.append("\" ");
  (void)strQuoted.append(strText.substr(nAddress));
  strFrom = std::move(strQuoted);
}

}  // namespace

ClsEmail::ClsEmail() {
  LogNull log;
  m_pEmail = Email2::newMail(log);
}

ClsEmail::~ClsEmail() = default;

bool ClsEmail::isWritable() {
  if (m_bSending) {
    m_log.LogError("This email object is read-only while it is in the process of being sent...");
  }
  return !m_bSending;
}

bool ClsEmail::LoadEml(XString& strPathOrMime) {
  ClsOperation objOperation(*this, "LoadEml");
  const std::string_view strText = strPathOrMime.utf8().view();
  if (isMimeText(strText)) return objOperation.done(setFromText(strText));
  m_log.LogData("path", strText);
  if (!isWritable()) return objOperation.done(false);
  DataBuffer arrBytes;
  if (!readWholeFile(strPathOrMime, arrBytes)) {
    m_log.LogError("Failed to read EML file.");
    return objOperation.done(false);
  }
  m_log.LogDataLong("numMimeBytes", arrBytes.getSize());
  return objOperation.done(setFromBytes(arrBytes.view(), /*bUtf8=*/false));
}

bool ClsEmail::SetFromMimeText(XString& strMime) {
  ClsOperation objOperation(*this, "SetFromMimeText");
  return objOperation.done(setFromText(strMime.utf8().view()));
}

bool ClsEmail::setFromText(std::string_view strUtf8) {
  m_log.LogDataLong("numMimeBytes", static_cast<std::int64_t>(strUtf8.size()));
  return isWritable() && setFromBytes(strUtf8, /*bUtf8=*/true);
}

bool ClsEmail::setFromBytes(std::string_view strMime, bool bUtf8) {
  OwnedPtr<Email2> pEmail = buildEmail(strMime, bUtf8, m_log);
  if (pEmail == nullptr) {
    m_log.LogError("Failed to create email object from MIME text");
    return false;
  }
  m_pEmail = std::move(pEmail);
  m_bCharsetChosen = false;
  return true;
}

bool ClsEmail::SaveEml(XString& strPath) {
  ClsOperation objOperation(*this, "SaveEml");
  m_log.LogData("path", strPath.utf8().view());
  if (!isWritable()) return objOperation.done(false);
  if (trimmed(strPath.utf8().view()).empty()) {
    m_log.LogError("The filename parameter is missing");
  } else if (m_pEmail == nullptr) {
    m_log.LogError("No internal email object");
  } else if (!m_pEmail->isValid()) {
    m_log.LogError("Internal email object is corrupt.");
    (void)m_pEmail.release();  // what it is now, nobody can delete
  } else {
    return objOperation.done(writeFile(strPath));
  }
  return objOperation.done(false);
}

bool ClsEmail::writeFile(XString& strPath) {
  std::optional<platform::File> objFile = createFile(strPath);
  if (!objFile) {
    m_log.LogError("Failed to create EML file.");
    return false;
  }
  FileOutput objOutput(*objFile);
  const auto nShortages = memoryShortages();
  const bool bWritten =
      EmailWriter(objOutput, EmailWriter::Transport::k8bit, m_log).write(*m_pEmail) &&
      objOutput.flush() && memoryShortages() == nShortages;
  if (bWritten) {
    (void)m_pEmail->header().deleteField("X-Unsent", /*bAll=*/true);
  } else {
    m_log.LogError("Failed to write EML file.");
  }
  return bWritten;
}

bool ClsEmail::HasHtmlBody() {
  ClsOperation objOperation(*this, "HasHtmlBody");
  return objOperation.done(hasMail() && findAlternative(*m_pEmail, "text/html", m_log) != nullptr);
}

bool ClsEmail::getHtmlBody(XString& strHtml) {
  ClsOperation objOperation(*this, "getHtmlBody");
  StringBuffer strUtf8;
  return objOperation.done(hasMail() && htmlBodyOf(*m_pEmail, strUtf8, m_log) &&
                           strHtml.setFromUtf8(strUtf8.view()));
}

bool ClsEmail::put_Subject(XString& strSubject) {
  ClsOperation objOperation(*this, "put_Subject");
  m_log.LogData("subject", strSubject.utf8().view());
  if (!hasMail() || !isWritable()) return objOperation.done(false);
  chooseCharset(strSubject);
  m_pEmail->setSubject(strSubject.utf8().view(), m_log);
  return objOperation.done(true);
}

bool ClsEmail::put_From(XString& strFrom) {
  ClsOperation objOperation(*this, "put_From");
  m_log.LogData("from", strFrom.utf8().view());
  if (!hasMail() || !isWritable()) return objOperation.done(false);
  StringBuffer strText(strFrom.utf8());
  if (strText.contains("=?")) (void)ContentCoding::QB_DecodeToUtf8(strText, m_log);
  quoteNameWithComma(strText);
  XString strChosen;
  (void)strChosen.setFromUtf8(strText.view());
  chooseCharset(strChosen);
  m_pEmail->setFrom(strText.view(), m_log);
  return objOperation.done(true);
}

// A mail that has no charset yet gets one from the first text that needs one.
void ClsEmail::chooseCharset(XString& strText) {
  if (m_pEmail->charset().getCodePage() != 0 || byte_search::is7bit(strText.utf8().view())) return;
  const std::u16string_view strUnits = strText.utf16();
  UnicodeInfo objInfo;
  objInfo.countScripts(reinterpret_cast<const unsigned char*>(strUnits.data()), strUnits.size());
  _ckCharset objCharset;
  objInfo.SuggestCharset(objCharset, {}, m_log);
  m_pEmail->setCharset(objCharset, m_log);
  m_bCharsetChosen = true;
  m_log.LogData("usingCharset", objCharset.getName().view());
}

}  // namespace mail
