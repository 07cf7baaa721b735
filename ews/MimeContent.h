#pragma once

#include <memory>

#include "platform/CString.h"

namespace ews {

// A whole message as its bytes. Takes the bytes over; requests share them and never copy them.
class MimeContent {
 public:
  MimeContent() = default;  // none
  MimeContent(CString strCharacterSet, std::unique_ptr<unsigned char[]> pBytes, size_t nLength)
      : m_strCharacterSet(std::move(strCharacterSet)),
        m_pBytes(std::move(pBytes)),
        m_nLength(nLength) {}

  bool IsSet() const { return m_pBytes != nullptr; }
  const CString& CharacterSet() const { return m_strCharacterSet; }
  const std::shared_ptr<const unsigned char[]>& Content() const { return m_pBytes; }
  size_t Length() const { return m_nLength; }

 private:
  CString m_strCharacterSet;
  std::shared_ptr<const unsigned char[]> m_pBytes;
  size_t m_nLength = 0;
};

}  // namespace ews
