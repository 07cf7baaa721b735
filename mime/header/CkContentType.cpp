#include "mime/header/CkContentType.h"

#include <array>

#include "base/AsciiText.h"
#include "mime/encoding/MailCharset.h"
#include "mime/encoding/ParameterPieces.h"
#include "mime/header/AttributeReader.h"

namespace mail {
namespace {

struct Parameter {
  std::string_view strName;
  StringBuffer _ckContentType::*pMember;
  bool bKeepsCase;
};

constexpr std::array kParameters = std::to_array<Parameter>({
    {"protocol", &_ckContentType::m_protocol, false},
    {"micalg", &_ckContentType::m_micalg, false},
    {"boundary", &_ckContentType::m_boundary, true},
    {"smime-type", &_ckContentType::m_smimeType, false},
    {"report-type", &_ckContentType::m_reportType, false},
    {"name", &_ckContentType::m_name, true},
    {"type", &_ckContentType::m_typeParam, false},
});

const Parameter* FindParameter(std::string_view strName) {
  for (const Parameter& obj : kParameters) {
    if (equalsNoCase(obj.strName, strName)) return &obj;
  }
  return nullptr;
}

void SetCharset(_ckContentType& objType, std::string_view strName) {
  if (strName.empty() || objType.m_charset.getCodePage() != 0) return;
  if (!mail_charset::setByName(objType.m_charset, strName)) {
    if (objType.m_unknownCharset.isEmpty()) (void)objType.m_unknownCharset.setString(strName);
    return;
  }
  objType.m_unknownCharset.weakClear();
  if (objType.m_charset.getName().isEmpty()) (void)objType.m_namelessCharset.setString(strName);
}

void SetParameter(_ckContentType& objType, std::string_view strName, std::string_view strValue) {
  if (equalsNoCase(strName, "charset")) {
    SetCharset(objType, strValue);
  } else if (const Parameter* pParameter = FindParameter(strName)) {
    StringBuffer& strMember = objType.*pParameter->pMember;
    if (!strMember.isEmpty()) return;
    (void)strMember.setString(strValue);
    if (!pParameter->bKeepsCase) strMember.toLowerCase();
  }
}

enum class Quotes : unsigned char { kAlways, kWhereNeeded };

// " NAME="VALUE";", or nothing for an empty value.
void Put(std::string_view strName, const StringBuffer& strValue, Quotes nQuotes,
         StringBuffer& strOut) {
  if (strValue.isEmpty()) return;
  (void)strOut.append(strName);
  if (nQuotes == Quotes::kAlways || needsQuotes(strValue.view())) {
    appendQuoted(strValue.view(), strOut);
  } else {
    (void)strOut.append(strValue);
  }
  (void)strOut.append(";");
}

}  // namespace

void _ckContentType::load(std::string_view strValueUtf8, LogBase& log) {
  clear();
  AttributeReader objReader(strValueUtf8);
  (void)m_type.setString(objReader.head());
  m_type.removeChar('"');
  while (m_type.lastChar() == ',') m_type.chop(1);  // written for the semicolon
  m_type.toLowerCase();
  ParameterPieces objNamePieces, objBoundaryPieces;
  StringBuffer strFormat;
  while (objReader.next()) {
    if (isPieceOf(objReader.name(), "name")) {
      objNamePieces.add(objReader.name(), objReader.value());
    } else if (isPieceOf(objReader.name(), "boundary")) {
      objBoundaryPieces.add(objReader.name(), objReader.value());
    } else if (equalsNoCase(objReader.name(), "format")) {
      if (strFormat.isEmpty()) (void)strFormat.setString(objReader.value());
    } else {
      SetParameter(*this, objReader.name(), objReader.value());
    }
  }
  m_bFormatFlowed = strFormat.equalsIgnoreCase("flowed");
  if (!objNamePieces.isEmpty()) (void)objNamePieces.decode(m_name, log);
  if (!objBoundaryPieces.isEmpty() && m_boundary.isEmpty()) {
    (void)objBoundaryPieces.decode(m_boundary, log);
  }
}

void _ckContentType::emit(StringBuffer& strOut) {
  if (charsetName().isEmpty() && m_type.beginsWith("text") && !m_type.contains("rfc822-headers")) {
    (void)m_charset.setByName("us-ascii");
  }
  (void)strOut.append(m_type);
  const StringBuffer& strCharset = charsetName();
  if (!strCharset.isEmpty()) {
    (void)strOut.append("; charset=");
    const bool bCanonical = !m_charset.getName().isEmpty();
    bCanonical ? (void)strOut.append(strCharset) : appendQuoted(strCharset.view(), strOut);
  }
  (void)strOut.append(";");
  const bool bReport = m_type.equals("multipart/report");
  if (!isMultipart()) Put(" type=", m_typeParam, Quotes::kAlways, strOut);
  if (bReport) Put(" report-type=", m_reportType, Quotes::kAlways, strOut);
  Put(" boundary=", m_boundary, Quotes::kAlways, strOut);
  Put(" name=", m_name, Quotes::kAlways, strOut);
  Put(" protocol=", m_protocol, Quotes::kAlways, strOut);
  Put(" micalg=", m_micalg, Quotes::kWhereNeeded, strOut);
  Put(" smime-type=", m_smimeType, Quotes::kWhereNeeded, strOut);
  if (m_bFormatFlowed && m_type.equals("text/plain")) (void)strOut.append(" format=flowed;");
  strOut.chop(1);
}

// "iso-8859-8-i" for one is a known charset without a name, and must not be written as none.
const StringBuffer& _ckContentType::charsetName() const {
  if (!m_charset.getName().isEmpty()) return m_charset.getName();
  return m_charset.getCodePage() != 0 ? m_namelessCharset : m_unknownCharset;
}

void _ckContentType::clear() {
  for (const Parameter& obj : kParameters) (this->*obj.pMember).weakClear();
  m_type.weakClear();
  m_charset.clear();
  m_unknownCharset.weakClear();
  m_namelessCharset.weakClear();
  m_bFormatFlowed = false;
}

}  // namespace mail
