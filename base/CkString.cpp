#include "base/CkString.h"

#include <string_view>

namespace {

std::string_view ViewOf(const char* pszText) {
  return pszText != nullptr ? std::string_view(pszText) : std::string_view();
}

std::u16string_view ViewOf(const char16_t* pszText) {
  return pszText != nullptr ? std::u16string_view(pszText) : std::u16string_view();
}

}  // namespace

void CkString::setString(const char* pszText) {
  (void)(m_bUtf8 ? m_strText.setFromUtf8(ViewOf(pszText)) : m_strText.setFromAnsi(ViewOf(pszText)));
}

void CkString::setStringU(const char16_t* pszText) {
  (void)m_strText.setFromUtf16(ViewOf(pszText));
}

void CkString::append(const char* pszText) {
  (void)(m_bUtf8 ? m_strText.appendUtf8(ViewOf(pszText)) : m_strText.appendAnsi(ViewOf(pszText)));
}

void CkString::appendU(const char16_t* pszText) { (void)m_strText.appendUtf16(ViewOf(pszText)); }

const char* CkString::getString() { return m_bUtf8 ? getUtf8() : getAnsi(); }
