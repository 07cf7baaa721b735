#include "base/CkMultiByteBase.h"

#include <string_view>

CkMultiByteBase::~CkMultiByteBase() {
  if (m_validity.holds()) mail::LibraryObject::deleteObject(m_impl);
}

CkMultiByteBase::NarrowArgument::NarrowArgument(const char* pszText, bool bUtf8) {
  const std::string_view strText(pszText != nullptr ? pszText : "");
  (void)(bUtf8 ? m_strText.setFromUtf8(strText) : m_strText.setFromAnsi(strText));
}

bool CkMultiByteBase::get_LastMethodSuccess() const {
  auto* const pBase = impl<mail::ClsBase>();
  return pBase != nullptr && guarded(*pBase, [&] { return pBase->m_lastMethodSuccess; });
}

const char* CkMultiByteBase::lastErrorText() {
  auto* const pBase = impl<mail::ClsBase>();
  if (pBase == nullptr) return nullptr;
  return guarded(*pBase, [&]() -> const char* {
    CkString& strSlot = nextSlot();
    (void)strSlot.text().setFromUtf8(pBase->m_log.text());
    return strSlot.getString();
  });
}

CkString& CkMultiByteBase::nextSlot() {
  std::unique_ptr<CkString>& pSlot = m_aSlots[m_nSlot];
  m_nSlot = (m_nSlot + 1) % kResultSlots;
  if (pSlot == nullptr) pSlot = std::make_unique<CkString>();
  pSlot->clear();
  pSlot->put_Utf8(Utf8);
  return *pSlot;
}
