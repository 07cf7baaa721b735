#include "base/XString.h"

#include <utility>

namespace mail {
namespace {

constexpr std::string_view kNulUnit("\0\0", 2);

std::string_view BytesOf(std::u16string_view strUnits) {
  return {reinterpret_cast<const char*>(strUnits.data()), strUnits.size() * sizeof(char16_t)};
}

std::u16string_view UnitsOf(std::string_view strBytes) {
  return {reinterpret_cast<const char16_t*>(strBytes.data()), strBytes.size() / sizeof(char16_t)};
}

}  // namespace

bool XString::setFromUtf8(std::string_view strUtf8) { return setForm(kUtf8, strUtf8); }

bool XString::setFromAnsi(std::string_view strAnsi) { return setForm(kAnsi, strAnsi); }

bool XString::setFromUtf16(std::u16string_view strUtf16) {
  return setForm(kUtf16, BytesOf(strUtf16));
}

bool XString::appendUtf8(std::string_view strUtf8) { return appendForm(kUtf8, strUtf8); }

bool XString::appendAnsi(std::string_view strAnsi) { return appendForm(kAnsi, strAnsi); }

bool XString::appendUtf16(std::u16string_view strUtf16) {
  return appendForm(kUtf16, BytesOf(strUtf16));
}

bool XString::append(XString& other) {
  return other.isValid() && appendForm(other.m_nSource, other.bytesOf(other.m_nSource));
}

const StringBuffer& XString::utf8() {
  makeForm(kUtf8);
  return m_strUtf8;
}

const StringBuffer& XString::ansi() {
  makeForm(kAnsi);
  return m_strAnsi;
}

std::u16string_view XString::utf16() {
  makeForm(kUtf16);
  return m_arrUtf16.isEmpty() ? std::u16string_view(u"") : UnitsOf(bytesOf(kUtf16));
}

void XString::clear() { (void)setForm(kUtf8, {}); }

bool XString::setForm(Form nForm, std::string_view strBytes) {
  if (!isValid() || !store(nForm, strBytes)) return false;
  dropAllBut(nForm);
  return true;
}

bool XString::appendForm(Form nForm, std::string_view strBytes) {
  if (!isValid()) return false;
  if (strBytes.empty()) return true;
  if (isEmpty()) return setForm(nForm, strBytes);
  if (nForm == m_nSource) {
    if (!addTo(nForm, strBytes)) return false;
    dropAllBut(nForm);
    return true;
  }
  XString strOther;
  if (!strOther.setForm(nForm, strBytes)) return false;
  const Form nCommon = m_nSource == kUtf16 ? kUtf16 : kUtf8;
  strOther.makeForm(nCommon);
  makeForm(nCommon);
  dropAllBut(nCommon);
  return addTo(nCommon, strOther.bytesOf(nCommon));
}

bool XString::store(Form nForm, std::string_view strBytes) {
  if (nForm == kUtf8) return m_strUtf8.setString(strBytes);
  if (nForm == kAnsi) return m_strAnsi.setString(strBytes);
  DataBuffer arrNew;
  if (!strBytes.empty() && !(arrNew.append(strBytes) && arrNew.append(kNulUnit))) return false;
  m_arrUtf16 = std::move(arrNew);
  return true;
}

bool XString::addTo(Form nForm, std::string_view strBytes) {
  if (nForm == kUtf8) return m_strUtf8.append(strBytes);
  if (nForm == kAnsi) return m_strAnsi.append(strBytes);
  if (m_arrUtf16.isEmpty()) return store(nForm, strBytes);
  m_arrUtf16.chop(kNulUnit.size());
  const bool bAdded = m_arrUtf16.append(strBytes);
  if (m_arrUtf16.append(kNulUnit)) return bAdded;
  m_arrUtf16.chop(strBytes.size());  // added, but no room for the NUL; there is when it is gone
  (void)m_arrUtf16.append(kNulUnit);
  return false;
}

void XString::dropAllBut(Form nForm) {
  m_nSource = nForm;
  m_aMade = {};
  m_aMade[nForm] = true;
  if (nForm != kUtf8) m_strUtf8.clear();
  if (nForm != kAnsi) m_strAnsi.clear();
  if (nForm != kUtf16) m_arrUtf16.clear();
}

std::string_view XString::bytesOf(Form nForm) const {
  if (nForm == kUtf8) return m_strUtf8.view();
  if (nForm == kAnsi) return m_strAnsi.view();
  return m_arrUtf16.view().substr(
      0, m_arrUtf16.isEmpty() ? 0 : m_arrUtf16.getSize() - kNulUnit.size());
}

}  // namespace mail
