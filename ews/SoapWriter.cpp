#include "ews/SoapWriter.h"

#include <algorithm>

#include "ews/ServiceException.h"
#include "platform/Unicode.h"

namespace ews {
namespace {

constexpr std::string_view kOpening =
    R"(<?xml version="1.0" encoding="utf-8"?>)"
    "\n"
    R"(<soap:Envelope xmlns:soap="http://schemas.xmlsoap.org/soap/envelope/")"
    R"( xmlns:m="http://schemas.microsoft.com/exchange/services/2006/messages")"
    R"( xmlns:t="http://schemas.microsoft.com/exchange/services/2006/types"><soap:Header>)";

constexpr size_t kQuotedUnits = 200;  // of a bad value in a message

bool IsHighSurrogate(char16_t ch) { return ch >= 0xD800 && ch <= 0xDBFF; }
bool IsLowSurrogate(char16_t ch) { return ch >= 0xDC00 && ch <= 0xDFFF; }

std::string_view Reference(char ch, bool bAttribute) {
  switch (ch) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '\r':
      return "&#13;";
    case '"':
      return bAttribute ? "&quot;" : "";
    case '\t':
      return bAttribute ? "&#9;" : "";
    case '\n':
      return bAttribute ? "&#10;" : "";
    default:
      return "";
  }
}

}  // namespace

ServiceException InvalidValue(std::u16string_view strValue, std::string_view strName) {
  std::u16string strStart(strValue.substr(0, kQuotedUnits));
  // An exception's text ends at a NUL, and callers look for what stands behind the value.
  std::replace(strStart.begin(), strStart.end(), u'\0', u'\xFFFD');
  std::string strQuoted = platform::Utf16ToUtf8(strStart);
  if (strValue.size() > kQuotedUnits) strQuoted += "…";
  return ServiceException("The invalid value '" + strQuoted + "' was specified for the '" +
                          std::string(strName) + "' element.");
}

size_t FindForbidden(std::u16string_view str) {
  for (size_t i = 0; i < str.size(); ++i) {
    const char16_t ch = str[i];
    if (ch >= 0x20 && ch < 0xD800) continue;
    if (ch == u'\t' || ch == u'\n' || ch == u'\r') continue;
    if (IsHighSurrogate(ch) && i + 1 < str.size() && IsLowSurrogate(str[i + 1])) {
      ++i;
      continue;
    }
    if (ch >= 0xE000 && ch < 0xFFFE) continue;
    return i;
  }
  return std::u16string_view::npos;
}

bool IsXmlText(std::u16string_view str) { return FindForbidden(str) == std::u16string_view::npos; }

SoapWriter::SoapWriter(ExchangeVersion eVersion, const CString* pImpersonated,
                       std::string_view strTimeZone) {
  m_strText = kOpening;
  Start(kTypes, "RequestServerVersion");
  Attribute("Version", WireName(eVersion));
  End();
  if (!strTimeZone.empty()) {
    Start(kTypes, "TimeZoneContext");
    Start(kTypes, "TimeZoneDefinition");
    Attribute("Id", strTimeZone);
    End();
    End();
  }
  if (pImpersonated) {
    Start(kTypes, "ExchangeImpersonation");
    Start(kTypes, "ConnectingSID");
    Element(kTypes, "SmtpAddress", *pImpersonated);
    End();
    End();
  }
  m_strText += "</soap:Header><soap:Body>";
}

void SoapWriter::Start(Vocabulary eVocabulary, std::string_view strName) {
  CloseTag();
  if (m_arrOpen.empty()) m_strOperation = strName;
  std::string strFull(eVocabulary == kMessages ? "m:" : "t:");
  strFull += strName;
  m_strText += '<';
  m_strText += strFull;
  m_arrOpen.push_back(std::move(strFull));
  m_bTagOpen = true;
}

void SoapWriter::Attribute(std::string_view strName, std::u16string_view strValue) {
  m_strText += ' ';
  m_strText += strName;
  m_strText += "=\"";
  Escape(strValue, true);
  m_strText += '"';
}

void SoapWriter::Attribute(std::string_view strName, std::string_view strValue) {
  Attribute(strName, platform::Utf8ToUtf16(strValue));
}

void SoapWriter::Text(std::u16string_view strValue) {
  CloseTag();
  Escape(strValue, false);
}

void SoapWriter::Text(std::string_view strValue) { Text(platform::Utf8ToUtf16(strValue)); }

void SoapWriter::Base64(std::shared_ptr<const unsigned char[]> pBytes, size_t nLength) {
  CloseTag();
  Flush();
  m_objBody.AddBase64(std::move(pBytes), nLength);
}

void SoapWriter::Base64File(const CString& strPath) {
  CloseTag();
  Flush();
  m_objBody.AddBase64File(strPath);
}

void SoapWriter::End() {
  if (m_bTagOpen) {
    m_strText += "/>";
    m_bTagOpen = false;
  } else {
    m_strText += "</" + m_arrOpen.back() + ">";
  }
  m_arrOpen.pop_back();
}

void SoapWriter::Element(Vocabulary eVocabulary, std::string_view strName,
                         std::u16string_view strValue) {
  Start(eVocabulary, strName);
  if (!strValue.empty()) Text(strValue);
  End();
}

void SoapWriter::Element(Vocabulary eVocabulary, std::string_view strName,
                         std::string_view strValue) {
  Element(eVocabulary, strName, platform::Utf8ToUtf16(strValue));
}

void SoapWriter::Page(std::string_view strName, int nSize, int nOffset) {
  Start(kMessages, strName);
  Attribute("MaxEntriesReturned", std::string_view(std::to_string(nSize)));
  Attribute("Offset", std::string_view(std::to_string(nOffset)));
  Attribute("BasePoint", std::string_view("Beginning"));
  End();
}

RequestBody SoapWriter::Finish() {
  m_strText += "</soap:Body></soap:Envelope>";
  Flush();
  return std::move(m_objBody);
}

void SoapWriter::CloseTag() {
  if (m_bTagOpen) m_strText += '>';
  m_bTagOpen = false;
}

void SoapWriter::Flush() {
  m_objBody.AddText(m_strText);
  m_strText.clear();
}

void SoapWriter::Escape(std::u16string_view strValue, bool bAttribute) {
  if (!IsXmlText(strValue)) {
    throw InvalidValue(strValue, std::string_view(m_arrOpen.back()).substr(2));
  }
  for (const char ch : platform::Utf16ToUtf8(strValue)) {
    const std::string_view strReference = Reference(ch, bAttribute);
    if (strReference.empty()) {
      m_strText += ch;
    } else {
      m_strText += strReference;
    }
  }
}

std::string XmlOf(const std::function<void(SoapWriter&)>& fnWrite) {
  SoapWriter objWriter(ExchangeVersion::Exchange2013_SP1, nullptr);
  fnWrite(objWriter);
  RequestBody objBody = objWriter.Finish();
  std::string strXml(objBody.Length(), '\0');
  strXml.resize(objBody.Read(strXml));
  constexpr std::string_view kBodyTag = "<soap:Body>";
  const size_t nStart = strXml.find(kBodyTag) + kBodyTag.size();
  return strXml.substr(nStart, strXml.rfind("</soap:Body>") - nStart);
}

}  // namespace ews
