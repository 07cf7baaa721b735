#include "mime/email/Email2.h"

#include <string>
#include <utility>

#include "base/ByteSearch.h"
#include "mime/header/AttributeReader.h"
#include "mime/header/ContentDisposition.h"
#include "mime/header/MailDate.h"
#include "mime/tree/MimeMessage2.h"

namespace mail {
Email2::Email2() { m_header.m_control.m_bMailAddresses = true; }

OwnedPtr<Email2> Email2::newMail(LogBase& log) {
  auto pMail = makeOwned<Email2>();
  if (pMail == nullptr) return nullptr;
  MimeHeader& objHeader = pMail->m_header;
  objHeader.addField("MIME-Version", "1.0", log);
  objHeader.addField("Date", mailDateOfNow(), log);
  objHeader.addField("Content-Type", "text/plain", log);
  objHeader.addField("Content-Transfer-Encoding", "7bit", log);
  objHeader.addField("X-Priority", "3 (Normal)", log);
  pMail->refresh(log);
  return pMail;
}

void Email2::takeEntity(MimeMessage2& objEntity, LogBase& log) {
  if (!isValid()) return;
  m_header.takeFields(objEntity.header(), log);
  m_body = objEntity.releaseBody();
  m_rawPart = objEntity.releaseRawPart();
  m_bKeepsBytes = objEntity.isUnconverted();
  m_bConverted = objEntity.isConverted();
  m_bUndivided = objEntity.isUndivided();
  refresh(log);
}

void Email2::refresh(LogBase& log) {
  if (!isValid()) return;
  m_contentType.clear();
  if (m_header.find("content-type") != nullptr) {
    m_contentType.change().load(m_header.valueOf("content-type"), log);
  }
  refreshWords(log);
  m_from.clear();
  if (m_header.find("from") != nullptr) {
    (void)m_from.change().load(m_header.valueOf("from"), log);
  }
}

void Email2::refreshWords(LogBase& log) {
  m_words.clear();
  if (m_header.getCount() == 0) return;
  HeaderWords& objWords = m_words.change();
  ContentDisposition objDisposition;
  objDisposition.load(m_header.valueOf("content-disposition"), log);
  objWords.disposition = std::move(objDisposition.m_type);
  objWords.fileName = std::move(objDisposition.m_fileName);
  (void)objWords.encoding.setString(firstWord(m_header.valueOf("content-transfer-encoding")));
}

void Email2::takeCharset(const _ckCharset& objCharset) {
  if (isValid()) m_charset.change() = objCharset;
}

void Email2::setCharset(const _ckCharset& objCharset, LogBase& log) {
  if (!isValid()) return;
  takeCharset(objCharset);
  const bool bBody = partCount() == 0 && (isText() || type().isEmpty()) && !m_bKeepsBytes;
  if (bBody && objCharset.getCodePage() != 0) setBodyCharset(objCharset, log);
}

void Email2::setBodyCharset(const _ckCharset& objCharset, LogBase& log) {
  if (!isValid()) return;
  StringBuffer strValue(type().isEmpty() ? "text/plain" : type().view());
  (void)strValue.append("; charset=");
  (void)strValue.append(objCharset.getName());
  appendOtherParameters(m_header.valueOf("content-type"), "charset", strValue);
  m_header.replaceField("Content-Type", strValue.view(), log);
  m_contentType.change().load(strValue.view(), log);
}

void Email2::setSubject(std::string_view strUtf8, LogBase& log) {
  if (isValid()) m_header.replaceField("Subject", strUtf8, log);
}

void Email2::setFrom(std::string_view strUtf8, LogBase& log) {
  if (!isValid()) return;
  ExtPtrArrayOf<_ckEmailAddress> arrFrom;
  _ckEmailAddress::loadList(strUtf8, arrFrom, log);
  // With the names encoded already: the writer would take names and addresses for one text. It may
  // where an address is no ASCII, for which there is no other way.
  StringBuffer strValue;
  _ckEmailAddress::emitList(arrFrom, strValue, charset().getCodePage(), log);
  if (strValue.isEmpty() || !byte_search::is7bit(strValue.view())) {
    (void)strValue.setString(strUtf8);
  }
  m_header.replaceField("From", strValue.view(), log);
  m_from.clear();
  if (arrFrom.getSize() > 0) m_from.change() = *arrFrom.at(0);
}

}  // namespace mail
