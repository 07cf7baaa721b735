#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "ews/Types.h"

namespace ews {

// Writes one request: the envelope with its header, then what the caller adds to the body. Names of
// elements are written with the prefix of the vocabulary that they come from.
//
// Text reaches the server's parser as it stands: CR is written as a character reference, since a
// parser turns a raw one into LF. A character that XML 1.0 forbids raises ServiceException ("The
// invalid value '…' was specified for the 'Name' element."), so that nothing is sent.
class SoapWriter {
 public:
  enum class Vocabulary { kMessages, kTypes };
  static constexpr auto kMessages = Vocabulary::kMessages;
  static constexpr auto kTypes = Vocabulary::kTypes;

  // pImpersonated: the SMTP address to impersonate; null for none. strTimeZone: the Windows name of
  // the zone that dates are to be read in; empty for none, which is UTC.
  SoapWriter(ExchangeVersion eVersion, const CString* pImpersonated,
             std::string_view strTimeZone = {});

  void Start(Vocabulary eVocabulary, std::string_view strName);
  void Attribute(std::string_view strName, std::u16string_view strValue);
  void Attribute(std::string_view strName, std::string_view strValue);  // ASCII
  void Text(std::u16string_view strValue);
  void Text(std::string_view strValue);  // ASCII
  void Base64(std::shared_ptr<const unsigned char[]> pBytes, size_t nLength);
  void Base64File(const CString& strPath);
  void End();

  // Start, text, end.
  void Element(Vocabulary eVocabulary, std::string_view strName, std::u16string_view strValue);
  void Element(Vocabulary eVocabulary, std::string_view strName, std::string_view strValue);

  // Which page of a search's result is wanted, as an element of that name.
  void Page(std::string_view strName, int nSize, int nOffset);

  // The name of the body's element, once that was begun.
  const std::string& Operation() const { return m_strOperation; }

  // Closes the envelope. The writer is used up.
  RequestBody Finish();

 private:
  void CloseTag();
  void Flush();
  void Escape(std::u16string_view strValue, bool bAttribute);

  RequestBody m_objBody;
  std::string m_strText;               // not yet in m_objBody
  std::vector<std::string> m_arrOpen;  // prefixed names
  std::string m_strOperation;          // of the outermost elements the last
  bool m_bTagOpen = false;
};

// The first unit that XML 1.0 does not allow: controls but tab, LF and CR, U+FFFE and U+FFFF, lone
// surrogates. npos if all of the text may stand there.
size_t FindForbidden(std::u16string_view str);
bool IsXmlText(std::u16string_view str);
// "The invalid value '…' was specified for the 'Name' element.", to be thrown.
ServiceException InvalidValue(std::u16string_view strValue, std::string_view strName);

// What is written alone, without an envelope around it.
std::string XmlOf(const std::function<void(SoapWriter&)>& fnWrite);

}  // namespace ews
