#include "ews/EmailMessage.h"

#include "ews/ExchangeService.h"
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

void EmailMessage::WriteOwnProperties(SoapWriter& objWriter) const {
  WriteMailboxes(objWriter, "ToRecipients", m_objTo);
  WriteMailboxes(objWriter, "CcRecipients", m_objCc);
  WriteMailboxes(objWriter, "BccRecipients", m_objBcc);
  if (m_objFrom) WriteSender(objWriter, "From", *m_objFrom);
  if (m_bRead) {
    objWriter.Element(SoapWriter::kTypes, "IsRead", std::string_view(*m_bRead ? "true" : "false"));
  }
}

}  // namespace ews
