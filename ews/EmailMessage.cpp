#include "ews/EmailMessage.h"

#include "ews/ExchangeService.h"
#include "ews/ItemFields.h"
#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"

namespace ews {

namespace {

EmailAddress AddressOf(const MailboxRecord& objRecord) {
  return {CString::FromUtf8(objRecord.strName), CString::FromUtf8(objRecord.strAddress)};
}

EmailAddressCollection AddressesOf(const std::vector<MailboxRecord>& arrRecords) {
  EmailAddressCollection objAddresses;
  for (const MailboxRecord& objRecord : arrRecords) objAddresses.Add(AddressOf(objRecord));
  return objAddresses;
}

}  // namespace

EmailMessage EmailMessage::Bind(const std::shared_ptr<ExchangeService>& pService,
                                const ItemId& objId, PropertySet) {
  EmailMessage objMessage(pService);
  if (!objId.IsSet()) return objMessage;
  if (!pService) throw ServiceException(kNoService);
  const ItemRecord objRecord = Fetch(*pService, objId);
  objMessage.TakeOver(objRecord);
  objMessage.m_bRead = objRecord.bRead;
  if (!objRecord.objFrom.strAddress.empty()) objMessage.m_objFrom = AddressOf(objRecord.objFrom);
  objMessage.m_objTo = AddressesOf(objRecord.arrTo);
  objMessage.m_objCc = AddressesOf(objRecord.arrCc);
  objMessage.m_objBcc = AddressesOf(objRecord.arrBcc);
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
