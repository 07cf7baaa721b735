#include "mime/header/CkEmailAddress.h"

#include <algorithm>

#include "base/AsciiText.h"
#include "mime/header/AddressParser.h"
#include "mime/header/AddressText.h"
#include "mime/header/AttributeReader.h"
#include "mime/header/FieldEmission.h"

namespace mail {
namespace {

bool IsAtomChar(char ch) {
  const char chLower = toLowerAscii(ch);
  return (chLower >= 'a' && chLower <= 'z') || (ch >= '0' && ch <= '9') ||
         std::string_view("!#$%&'*+-/=?^_`{|}~").find(ch) != std::string_view::npos;
}

// Whether a name may stand without quotes, where runs of blanks shrink.
bool IsPlainName(std::string_view strName) {
  return strName.find("  ") == std::string_view::npos &&
         std::all_of(strName.begin(), strName.end(), [](char ch) {
           return ch == ' ' || static_cast<unsigned char>(ch) >= 0x80 || IsAtomChar(ch);
         });
}

void AppendReadableName(std::string_view strName, bool bAlone, StringBuffer& strOut) {
  const bool bPlain = IsPlainName(strName) && !(bAlone && address_text::isLocalAddress(strName));
  bPlain ? (void)strOut.append(strName) : appendQuoted(strName, strOut);
}

// Whether an address is one without brackets too.
bool IsPlainAddress(std::string_view strAddress) {
  const bool bPlain = std::all_of(strAddress.begin(), strAddress.end(), [](char ch) {
    return ch == '@' || ch == '.' || static_cast<unsigned char>(ch) >= 0x80 || IsAtomChar(ch);
  });
  return bPlain && strAddress.find('@') != std::string_view::npos;
}

void AppendName(std::string_view strName, bool bAlone, int nCodePage, StringBuffer& strOut,
                LogBase& log) {
  const PreparedText objName(strName, nCodePage, log);
  if (objName.needsEncoding()) {
    objName.appendWords(PreparedText::Words::kOneInAddress, strOut, log);
  } else {
    AppendReadableName(objName.bytes(), bAlone, strOut);
  }
}

void AppendAddress(const StringBuffer& strAddress, bool bBrackets, StringBuffer& strOut) {
  if (bBrackets) (void)strOut.appendChar('<');
  StringBuffer strLine(strAddress);
  strLine.removeChar('\r');
  strLine.removeChar('\n');
  (void)strOut.append(strLine);
  if (bBrackets) (void)strOut.appendChar('>');
}

}  // namespace

bool _ckEmailAddress::load(std::string_view strValueUtf8, LogBase& log) {
  ExtPtrArrayOf<_ckEmailAddress> arrAddresses;
  loadList(strValueUtf8, arrAddresses, log);
  m_friendlyName.clear();
  m_address.clear();
  if (arrAddresses.getSize() == 0) return false;
  m_friendlyName = std::move(arrAddresses.at(0)->m_friendlyName);
  m_address = std::move(arrAddresses.at(0)->m_address);
  return true;
}

void _ckEmailAddress::loadList(std::string_view strValueUtf8,
                               ExtPtrArrayOf<_ckEmailAddress>& arrAddresses, LogBase& log) {
  AddressParser(strValueUtf8, arrAddresses, log).run();
}

void _ckEmailAddress::emit(StringBuffer& strOut, int nCodePage, LogBase& log) const {
  emitInFrontOf(/*pNext=*/nullptr, strOut, nCodePage, log);
}

void _ckEmailAddress::emitInFrontOf(const _ckEmailAddress* pNext, StringBuffer& strOut,
                                    int nCodePage, LogBase& log) const {
  if (!m_friendlyName.isEmpty()) {
    AppendName(m_friendlyName.view(), isNameAlone(), nCodePage, strOut, log);
  }
  appendBehindName(pNext, strOut);
}

void _ckEmailAddress::emitReadable(StringBuffer& strOut) const {
  if (!m_friendlyName.isEmpty()) {
    AppendReadableName(m_friendlyName.view(), isNameAlone(), strOut);
  }
  appendBehindName(/*pNext=*/nullptr, strOut);
}

// What stands in front of a name, without brackets, would be read as the first part of it.
void _ckEmailAddress::appendBehindName(const _ckEmailAddress* pNext, StringBuffer& strOut) const {
  const bool bNameFollows =
      pNext != nullptr && !pNext->m_friendlyName.isEmpty() && !pNext->m_address.isEmpty();
  const std::string_view strAddress = m_address.view();
  if (m_friendlyName.isEmpty()) {
    if (strAddress.empty()) return;
    const bool bPlain =
        IsPlainAddress(strAddress) || (!bNameFollows && address_text::isLocalAddress(strAddress));
    AppendAddress(m_address, !bPlain, strOut);
    return;
  }
  // A name alone stays one, unless it looks like an address.
  const bool bLooksLikeOne = m_friendlyName.view().find('@') != std::string_view::npos;
  const bool bJoins = bNameFollows && !strOut.view().ends_with('"');
  if (strAddress.empty() && !bLooksLikeOne && !bJoins) return;
  (void)strOut.appendChar(' ');
  AppendAddress(m_address, /*bBrackets=*/true, strOut);
}

void _ckEmailAddress::emitList(const ExtPtrArrayOf<_ckEmailAddress>& arrAddresses,
                               StringBuffer& strOut, int nCodePage, LogBase& log) {
  const std::size_t nCount = arrAddresses.getSize();
  for (std::size_t n = 0; n < nCount; ++n) {
    if (n != 0) (void)strOut.append(", ");
    const _ckEmailAddress* pNext = n + 1 < nCount ? arrAddresses.at(n + 1) : nullptr;
    arrAddresses.at(n)->emitInFrontOf(pNext, strOut, nCodePage, log);
  }
}

}  // namespace mail
