#include "mime/tree/MimeMessage2.h"

#include <utility>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "base/LogNull.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "mime/encoding/MailCharset.h"
#include "mime/header/AttributeReader.h"
#include "mime/header/CkContentType.h"
#include "mime/header/ContentDisposition.h"
#include "mime/tree/LineConversion.h"
#include "mime/tree/MimeLoader.h"
#include "mime/tree/MimeWriting.h"
#include "mime/tree/PassingBytes.h"

namespace mail {
namespace {

using code_page::kUtf8;

// The two never lie whole in memory.
void moveUtf8(const DataBuffer& arrUtf8, XString& strOut) {
  strOut.clear();
  (void)PassingBytes::lastOf(arrUtf8).takeLines(
      "\n", [&](std::string_view strLines) { return strOut.appendUtf8(strLines); });
}

}  // namespace

bool MimeMessage2::loadMimeComplete(std::string_view strBytes, const LoadOptions& objOptions,
                                    LogBase& log) {
  if (!isValid()) return false;
  MimeLoader objLoader(objOptions, log);
  const bool bLoaded = objLoader.load(*this, strBytes);
  if (objOptions.pSteps != nullptr) *objOptions.pSteps += objLoader.steps();
  return bLoaded;
}

void MimeMessage2::clear() {
  if (!isValid()) return;
  m_cache.clear();
  m_rawPart.clear();
  m_body.clear();
  m_header.clear();
  m_parts.removeAll();
  m_bUnconverted = m_bConverted = m_bUndivided = m_bHasUndivided = false;
  m_bDirty = true;
}

void MimeMessage2::getMimeBytes(DataBuffer& out, LogBase& log) const {
  if (isValid()) (void)MimeWriter(out, log).write(*this);
}

void MimeMessage2::getMimeText(XString& strOut, LogBase& log) {
  if (!isValid()) return;
  DataBuffer arrBytes;
  {
    const BinaryAsBase64 objSwitched(*this, log);
    getMimeBytes(arrBytes, log);
  }
  const int nPage = pageOfWrittenText(*this);
  if (nPage == kUtf8 || (nPage == 0 && byte_search::isUtf8(arrBytes.view()))) {
    moveUtf8(arrBytes, strOut);
    return;
  }
  DataBuffer arrUtf8;
  EncodingConvert objConvert;
  const PassingBytes objBytes = PassingBytes::lastOf(arrBytes);
  if (nPage != 0 && line_conversion::toUtf8(objConvert, nPage, objBytes, arrUtf8, log)) {
    moveUtf8(arrUtf8, strOut);
    return;
  }
  if (line_conversion::isAsciiPage(nPage) && !arrUtf8.isEmpty())
    return strOut.clear();  // for want of memory
  (void)strOut.setFromAnsi(arrBytes.view());
}

std::string_view MimeMessage2::bodyForFile(DataBuffer& arrRoom, LogBase& log) const {
  return isValid() ? MimeWriter::bodyInCharset(*this, arrRoom, log) : std::string_view();
}

bool MimeMessage2::isPgpSigned() const {
  if (!contentType().equals("multipart/signed")) return false;
  _ckContentType objType;
  LogNull log;
  getContentType(objType, log);
  return objType.m_protocol.equals("application/pgp-signature");
}

void MimeMessage2::getContentType(_ckContentType& objType, LogBase& log) const {
  objType.load(m_header.valueOf("content-type"), log);
}

void MimeMessage2::getName(StringBuffer& strName, LogBase& log) const {
  _ckContentType objType;
  getContentType(objType, log);
  strName = objType.m_name;
}

void MimeMessage2::getFileName(StringBuffer& strFileName, LogBase& log) const {
  ContentDisposition objDisposition;
  objDisposition.load(m_header.valueOf("content-disposition"), log);
  strFileName = objDisposition.m_fileName;
}

void MimeMessage2::setHeaderField(std::string_view strName, std::string_view strValueUtf8,
                                  LogBase& log) {
  if (!isValid()) return;
  const std::string_view strField = trimmed(strName);
  const std::string_view strValue = trimmed(strValueUtf8);
  if (strValue.empty()) {
    (void)m_header.deleteField(strField, /*bAll=*/true);
  } else {
    m_header.replaceField(strField, strValue, log);
  }
  if (equalsNoCase(strField, "content-type")) refreshContentType(log);
  if (equalsNoCase(strField, "content-disposition")) refreshDisposition(log);
  if (equalsNoCase(strField, "content-transfer-encoding")) refreshEncoding();
  m_bDirty = true;
}

void MimeMessage2::setContentType(std::string_view strType, LogBase& log) {
  _ckContentType objType;
  getContentType(objType, log);
  (void)objType.m_type.setString(strType);
  setContentType(objType, log);
}

void MimeMessage2::setContentType(_ckContentType& objType, LogBase& log) {
  StringBuffer strValue;
  objType.emit(strValue);
  setHeaderField("Content-Type", strValue.view(), log);
}

void MimeMessage2::setCharset(std::string_view strName, LogBase& log) {
  _ckContentType objType;
  getContentType(objType, log);
  if (objType.m_type.isEmpty()) (void)objType.m_type.setString("text/plain");
  objType.m_unknownCharset.clear();
  if (!mail_charset::setByName(objType.m_charset, strName) ||
      objType.m_charset.getName().isEmpty()) {
    objType.m_charset.clear();
    (void)objType.m_unknownCharset.setString(strName);
  }
  setContentType(objType, log);
}

void MimeMessage2::setBoundary(std::string_view strBoundary, LogBase& log) {
  _ckContentType objType;
  getContentType(objType, log);
  (void)objType.m_boundary.setString(strBoundary);
  setContentType(objType, log);
}

void MimeMessage2::setEncoding(std::string_view strEncoding, LogBase& log) {
  setHeaderField("Content-Transfer-Encoding", strEncoding, log);
}

void MimeMessage2::setBody(DataBuffer&& arrBody) {
  m_body = std::move(arrBody);
  m_bUnconverted = m_bConverted = m_bUndivided = false;
  m_bDirty = true;
}

void MimeMessage2::setBody(std::string_view strBytes) {
  DataBuffer arrBody;
  (void)arrBody.append(strBytes);
  setBody(std::move(arrBody));
}

void MimeMessage2::setBodyInCharset(DataBuffer&& arrBody) {
  setBody(std::move(arrBody));
  m_bUnconverted = true;
}

void MimeMessage2::takeBody(MimeMessage2& other) {
  m_body = std::move(other.m_body);
  m_bUnconverted = other.m_bUnconverted;
  m_bConverted = other.m_bConverted;
  m_bUndivided = other.m_bUndivided;
  m_bDirty = true;
  other.setBody(DataBuffer());
}

DataBuffer MimeMessage2::releaseBody() { return std::move(m_body); }
DataBuffer MimeMessage2::releaseRawPart() { return std::move(m_rawPart); }

void MimeMessage2::refreshCache(LogBase& log) {
  if (!isValid()) return;
  refreshContentType(log);
  refreshDisposition(log);
  refreshEncoding();
}

void MimeMessage2::dropCharset() {
  if (charset().getCodePage() != 0 || !charset().getName().isEmpty()) {
    m_cache.change().charset.clear();
  }
}

void MimeMessage2::refreshContentType(LogBase& log) {
  HeaderCache& objCache = m_cache.change();
  _ckContentType objType;
  getContentType(objType, log);
  objCache.contentType = std::move(objType.m_type);
  objCache.charset = std::move(objType.m_charset);
  objCache.boundary = std::move(objType.m_boundary);
}

void MimeMessage2::refreshDisposition(LogBase& log) {
  HeaderCache& objCache = m_cache.change();
  ContentDisposition objDisposition;
  objDisposition.load(m_header.valueOf("content-disposition"), log);
  objCache.disposition = std::move(objDisposition.m_type);
}

void MimeMessage2::refreshEncoding() {
  HeaderCache& objCache = m_cache.change();
  (void)objCache.encoding.setString(firstWord(m_header.valueOf("content-transfer-encoding")));
}

}  // namespace mail
