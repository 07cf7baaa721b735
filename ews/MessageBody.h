#pragma once

#include "ews/Types.h"
#include "platform/CString.h"

namespace ews {

// The text of an item. A plain string counts as HTML.
class MessageBody {
 public:
  MessageBody() = default;
  MessageBody(CString strText) : m_strText(std::move(strText)) {}  // NOLINT: implicit by design
  MessageBody(const char16_t* psz) : m_strText(psz) {}             // NOLINT: implicit by design
  MessageBody(ews::BodyType eType, CString strText)
      : m_eType(eType), m_strText(std::move(strText)) {}

  ews::BodyType BodyType() const { return m_eType; }
  void SetBodyType(ews::BodyType eType) { m_eType = eType; }
  const CString& Text() const { return m_strText; }
  void SetText(CString strText) { m_strText = std::move(strText); }

 private:
  ews::BodyType m_eType = ews::BodyType::HTML;
  CString m_strText;
};

}  // namespace ews
