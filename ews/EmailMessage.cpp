#include "ews/EmailMessage.h"

#include "ews/ExchangeService.h"
#include "ews/ItemFields.h"
#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"

namespace ews {

EmailMessage EmailMessage::Bind(const std::shared_ptr<ExchangeService>& pService,
                                const ItemId& objId, PropertySet) {
  EmailMessage objMessage(pService);
  if (!objId.IsSet()) return objMessage;
  if (!pService) throw ServiceException(kNoService);
  const ItemRecord objRecord = Fetch(*pService, objId);
  objMessage.TakeOver(objRecord);
  objMessage.m_bRead = objRecord.bRead;
  if (!objRecord.strFromAddress.empty()) {
    objMessage.m_objFrom = EmailAddress(CString::FromUtf8(objRecord.strFromName),
                                        CString::FromUtf8(objRecord.strFromAddress));
  }
  return objMessage;
}

void EmailMessage::WriteOwnFields(ItemFields& objFields) const {
  objFields.Mailboxes("message:ToRecipients", m_objTo);
  objFields.Mailboxes("message:CcRecipients", m_objCc);
  objFields.Mailboxes("message:BccRecipients", m_objBcc);
  objFields.Field("message:From", m_objFrom && !m_objFrom->IsBlank(),
                  [&](SoapWriter& objWriter) { WriteMailbox(objWriter, *m_objFrom); });
  objFields.Field("message:IsRead", m_bRead.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(*m_bRead ? "true" : "false"));
  });
}

}  // namespace ews
