#include "mime/header/MimeField.h"

#include <algorithm>

#include "base/AsciiText.h"
#include "base/ExtPtrArray.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/encoding/ParameterPieces.h"
#include "mime/header/AttributeWords.h"
#include "mime/header/CkEmailAddress.h"
#include "mime/header/EncodedWordMarks.h"
#include "mime/header/FieldEmission.h"
#include "mime/header/FieldNames.h"
#include "mime/header/HeaderFolding.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// Two passes at the speed of memchr; find_first_of looks each byte up in its set.
bool HoldsLineEnd(std::string_view str) {
  return str.find('\r') != kNone || str.find('\n') != kNone;
}

// What may not stand in the name of a field.
constexpr bool IsMisplaced(char ch) {
  return ch == ' ' || ch == '<' || ch == '>' || ch == '"' || ch == '\'' || ch == '\r' ||
         ch == '\n' || ch == '\0';
}

// A value whose continuation holds encoded words: both are undone, the cutting first.
void JoinEncodedPieces(StringBuffer& strValue) {
  const std::string_view strText = strValue.view();
  if (strText.find("*0=") == kNone || findNoCase(strText, "name*0=") == kNone) return;
  const bool bFileName = findNoCase(strText, "filename*0=") != kNone;
  (void)joinNumberedPieces(strValue, bFileName ? "filename" : "name");
}

// CR, LF and tab become blanks, runs of blanks one.
void ShrinkBlanks(StringBuffer& strValue) {
  StringBuffer strShrunk;
  (void)strShrunk.reserve(strValue.getSize());
  std::string_view strRest = strValue.view();
  while (!strRest.empty()) {
    const std::size_t nWord = std::min(strRest.find_first_of(" \t\r\n"), strRest.size());
    (void)strShrunk.append(strRest.substr(0, nWord));
    strRest.remove_prefix(nWord);
    if (strRest.empty()) break;
    (void)strShrunk.appendChar(' ');
    strRest.remove_prefix(std::min(strRest.find_first_not_of(" \t\r\n"), strRest.size()));
  }
  strValue = std::move(strShrunk);
}

bool AddressesAreListed(const StringBuffer& strName, const StringBuffer& strValue) {
  return !strName.equalsIgnoreCase("from") && strValue.view().find('@') != kNone &&
         findNoCase(strValue.view(), "undisclosed-recipients") == kNone;
}

// False when nothing was appended: the value holds no address, or too many.
bool AppendAddresses(std::string_view strValue, int nCodePage, StringBuffer& strOut, LogBase& log) {
  ExtPtrArrayOf<_ckEmailAddress> arrAddresses;
  _ckEmailAddress::loadList(strValue, arrAddresses, log);
  const std::size_t nCount = arrAddresses.getSize();
  if (nCount == 0 || nCount == _ckEmailAddress::kMaxAddresses) return false;
  _ckEmailAddress::emitList(arrAddresses, strOut, nCodePage, log);
  return true;
}

}  // namespace

void MimeField::setName(std::string_view strName) {
  (void)m_name.setString(trimmedWithNuls(strName));
  const std::string_view strStored = m_name.view();
  if (std::none_of(strStored.begin(), strStored.end(), IsMisplaced)) return;
  // NULs: letters with one behind each, first in a mail, would be taken for UTF-16.
  for (const char ch : {'\r', '\n', '\0'}) m_name.removeChar(ch);
  m_name.trim();
  m_name.replaceAnyOf(" <>\"'", '-');
}

void MimeField::setContents(std::string_view strName, std::string_view strValueUtf8,
                            const MimeControl& control, LogBase& log) {
  if (!isValid()) return;
  setName(strName);
  const std::uint8_t nTraits = fieldTraits(m_name.view());
  const bool bRaw = control.m_bRawFields;
  const bool bAddresses = !bRaw && (nTraits & kAddressField) != 0;
  const bool bAttributes = !bRaw && (nTraits & kAttributeField) != 0;
  m_type = bAddresses ? kAddresses : bAttributes ? kAttributes : kText;
  m_bAllowFolding = !bRaw && (nTraits & kNeverFolded) == 0;
  m_bAllowEncoding = !bRaw && (nTraits & kNeverEncoded) == 0;

  (void)m_value.setString(trimmedWithNuls(strValueUtf8));
  if (!bAddresses) decodeValue(bAttributes && (nTraits & kIsLocation) == 0, log);
  removeNuls();
  if (control.m_bMailAddresses && isTraceField(m_name.view())) ShrinkBlanks(m_value);
  const bool bKeepsTabs = (nTraits & kTabsToBlanks) == 0 || (bRaw && (nTraits & kAttributeField));
  if (!bKeepsTabs && m_value.view().find('\t') != kNone) m_value.replaceAnyOf("\t", ' ');
}

// Encoded words to text, line ends to nothing.
void MimeField::decodeValue(bool bByAttributes, LogBase& log) {
  if (hasEncodedWords(m_value.view())) {
    JoinEncodedPieces(m_value);
    if (bByAttributes) {
      decodeAttributes(m_value, log);
    } else {
      (void)ContentCoding::QB_DecodeToUtf8(m_value, log);
    }
    m_value.trim();
  }
  removeLineEnds();
}

// They mean nothing, and to many readers of the value, and of the mail, it would end with the
// first.
void MimeField::removeNuls() {
  if (m_value.view().find('\0') == kNone) return;
  m_value.removeChar('\0');
  m_value.trim();
}

void MimeField::removeLineEnds() {
  if (!HoldsLineEnd(m_value.view())) return;
  m_value.removeChar('\r');
  m_value.removeChar('\n');
  m_value.trim();
}

bool MimeField::loadLine(std::string_view strLineUtf8, const MimeControl& control, LogBase& log) {
  const std::size_t nColon = strLineUtf8.find(':');
  if (nColon == kNone || !isValid()) return false;
  setContents(strLineUtf8.substr(0, nColon), strLineUtf8.substr(nColon + 1), control, log);
  if (m_type == kAddresses) removeLineEnds();  // stray CR; the other types have none by now
  return true;
}

void MimeField::emit(StringBuffer& strOut, int nCodePage, const MimeControl& control,
                     LogBase& log) const {
  if (!isValid()) return;
  (void)strOut.append(m_name);
  (void)strOut.append(": ");
  if (m_type == kAttributes) {
    emitAttributes(strOut, nCodePage, log);
  } else if (m_type == kAddresses && control.m_bMailAddresses) {
    emitAddresses(strOut, nCodePage, log);
  } else {
    emitText(strOut, nCodePage, log);
  }
  (void)strOut.append("\r\n");
}

void MimeField::emitText(StringBuffer& strOut, int nCodePage, LogBase& log) const {
  const PreparedText objText(m_value.view(), nCodePage, log);
  if (m_bAllowEncoding && objText.needsEncoding()) {
    using Words = PreparedText::Words;
    const Words nAlone = m_type == kAddresses ? Words::kOneInAddress : Words::kOne;
    const bool bSeveral = m_type == kText && m_bAllowFolding;
    objText.appendWords(bSeveral ? Words::kSeveral : nAlone, strOut, log);
  } else if (objText.standsAsItIs() || !m_bAllowFolding) {
    (void)strOut.append(objText.bytes());
  } else {
    fold(objText.bytes(), strOut);
  }
}

void MimeField::emitAttributes(StringBuffer& strOut, int nCodePage, LogBase& log) const {
  if (m_value.getSize() > kMaxAttributeBytes) {
    log.LogError("invalid dataSize detected.");
    return;
  }
  StringBuffer strAttributes;
  const bool bIsLocation = (fieldTraits(m_name.view()) & kIsLocation) != 0;
  appendAttributes(m_value.view(), nCodePage, bIsLocation, strAttributes, log);
  fold(strAttributes.view(), strOut);
}

void MimeField::emitAddresses(StringBuffer& strOut, int nCodePage, LogBase& log) const {
  StringBuffer strAddresses;
  if (AddressesAreListed(m_name, m_value) &&
      AppendAddresses(m_value.view(), nCodePage, strAddresses, log)) {
    fold(strAddresses.view(), strOut);
  } else {
    emitText(strOut, nCodePage, log);
  }
}

void MimeField::fold(std::string_view strValue, StringBuffer& strOut) const {
  foldValue(strValue, m_name.getSize() + 2, m_type != kText, strOut);
}

}  // namespace mail
