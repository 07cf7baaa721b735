#pragma once

#include "ews/EmailAddress.h"
#include "ews/Item.h"

namespace ews {

// A mail.
class EmailMessage : public Item {
 public:
  // A null service is found out at Save.
  explicit EmailMessage(std::shared_ptr<ExchangeService> pService) : Item(std::move(pService)) {}

  // The item of that id as the server has it: its id, body, categories, importance, sender,
  // recipients and read state. An id that is not set gives an empty item without a request. Throws
  // ServiceException.
  static EmailMessage Bind(const std::shared_ptr<ExchangeService>& pService, const ItemId& objId,
                           PropertySet eProperties);

  void SetIsRead(bool bRead) { m_bRead = bRead; }
  std::optional<bool> IsRead() const { return m_bRead; }
  void SetFrom(EmailAddress objFrom) { m_objFrom = std::move(objFrom); }
  const std::optional<EmailAddress>& From() const { return m_objFrom; }
  EmailAddressCollection& ToRecipients() { return m_objTo; }
  EmailAddressCollection& CcRecipients() { return m_objCc; }
  EmailAddressCollection& BccRecipients() { return m_objBcc; }

 private:
  std::string_view ElementName() const override { return "Message"; }
  void WriteOwnFields(ItemFields& objFields) const override;

  EmailAddressCollection m_objTo;
  EmailAddressCollection m_objCc;
  EmailAddressCollection m_objBcc;
  std::optional<EmailAddress> m_objFrom;
  std::optional<bool> m_bRead;
};

}  // namespace ews
