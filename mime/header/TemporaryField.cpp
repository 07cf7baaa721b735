#include "mime/header/TemporaryField.h"

#include <utility>

namespace mail {

TemporaryField::TemporaryField(MimeHeader& objHeader, std::string_view strName,
                               std::string_view strValueUtf8, LogBase& log)
    : m_strName(strName) {
  const std::size_t nIndex = objHeader.indexOf(strName);
  const std::size_t nFields = objHeader.getCount();
  if (nIndex == nFields) {
    objHeader.addField(strName, strValueUtf8, log);
    if (objHeader.getCount() > nFields) m_pHeader = &objHeader;
    return;
  }
  auto pField = makeOwned<MimeField>();
  if (pField == nullptr) {
    log.LogError("Out of memory allocating MimeField.");
    return;
  }
  pField->setContents(strName, strValueUtf8, objHeader.m_control, log);
  m_pOld = objHeader.exchangeField(nIndex, std::move(pField));
  m_pHeader = &objHeader;
}

TemporaryField::TemporaryField(TemporaryField&& other) noexcept
    : m_pHeader(std::exchange(other.m_pHeader, nullptr)),
      m_strName(other.m_strName),
      m_pOld(std::move(other.m_pOld)) {}

void TemporaryField::restore() {
  MimeHeader* const pHeader = std::exchange(m_pHeader, nullptr);
  if (pHeader == nullptr) return;
  if (m_pOld == nullptr) {
    (void)pHeader->deleteField(m_strName, /*bAll=*/true);
  } else {
    (void)pHeader->exchangeField(pHeader->indexOf(m_strName), std::move(m_pOld));
  }
}

}  // namespace mail
