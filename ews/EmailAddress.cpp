#include "ews/EmailAddress.h"

#include <algorithm>

#include "ews/SoapWriter.h"

namespace ews {
namespace {

// a@b: one @ with something on both sides, no blanks, no brackets.
bool IsBareAddress(const CString& str) {
  const int nAt = str.Find(u'@');
  return nAt > 0 && nAt == str.ReverseFind(u'@') && nAt + 1 < str.GetLength() &&
         str.FindOneOf(u" \t\r\n<>\"") < 0;
}

// The name in front of an address without its quotes; false if it has brackets of its own or quotes
// that do not pair.
bool ReadName(CString str, CString& strName) {
  str.Trim();
  const int nLength = str.GetLength();
  if (nLength == 0 || str[0] != u'"') {
    strName = str;
    return str.FindOneOf(u"<>\"") < 0;
  }
  if (nLength < 2 || str[nLength - 1] != u'"') return false;
  CString strPlain;
  for (int i = 1; i < nLength - 1; ++i) {
    if (str[i] == u'"') return false;
    if (str[i] == u'\\' && i + 1 < nLength - 1) ++i;
    strPlain += str[i];
  }
  strName = strPlain;
  return true;
}

}  // namespace

EmailAddress::EmailAddress(const CString& strText) : m_strAddress(strText) {
  if (!IsXmlText(strText)) return;
  CString strTrimmed = strText;
  strTrimmed.Trim();
  if (IsBareAddress(strTrimmed)) {
    m_strAddress = strTrimmed;
    return;
  }
  const int nOpen = strTrimmed.ReverseFind(u'<');
  if (nOpen < 0 || strTrimmed[strTrimmed.GetLength() - 1] != u'>') return;
  CString strInner = strTrimmed.Mid(nOpen + 1, strTrimmed.GetLength() - nOpen - 2);
  strInner.Trim();
  CString strName;
  if (!IsBareAddress(strInner) || !ReadName(strTrimmed.Left(nOpen), strName)) return;
  m_strAddress = strInner;
  m_strName = strName;
}

bool EmailAddress::IsBlank() const {
  CString strTrimmed = m_strAddress;
  return strTrimmed.Trim().IsEmpty();
}

bool EmailAddressCollection::IsBlank() const {
  return std::all_of(m_arr.begin(), m_arr.end(),
                     [](const EmailAddress& objAddress) { return objAddress.IsBlank(); });
}

void WriteMailbox(SoapWriter& objWriter, const EmailAddress& objAddress) {
  objWriter.Start(SoapWriter::kTypes, "Mailbox");
  if (!objAddress.Name().IsEmpty()) {
    objWriter.Element(SoapWriter::kTypes, "Name", objAddress.Name());
  }
  objWriter.Element(SoapWriter::kTypes, "EmailAddress", objAddress.Address());
  objWriter.End();
}

}  // namespace ews
