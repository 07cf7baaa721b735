#include "ews/FolderId.h"

#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"

namespace ews {

FolderId::FolderId(WellKnownFolderName eName) : m_eName(eName) {}

FolderId::FolderId(WellKnownFolderName eName, const Mailbox& objMailbox)
    : m_eName(eName), m_strMailbox(objMailbox.Address()), m_bMailbox(true) {}

FolderId::FolderId(CString strUniqueId, CString strChangeKey)
    : m_strUniqueId(std::move(strUniqueId)), m_strChangeKey(std::move(strChangeKey)) {}

CString FolderId::ToString() const {
  return m_eName ? CString::FromUtf8(WireName(*m_eName)) : m_strUniqueId;
}

void FolderId::WriteTo(SoapWriter& objWriter) const {
  if (!IsSet()) throw ServiceException("The request names no folder: no target folder is set.");
  if (!m_eName) {
    objWriter.Start(SoapWriter::kTypes, "FolderId");
    objWriter.Attribute("Id", m_strUniqueId);
    if (!m_strChangeKey.IsEmpty()) objWriter.Attribute("ChangeKey", m_strChangeKey);
    objWriter.End();
    return;
  }
  objWriter.Start(SoapWriter::kTypes, "DistinguishedFolderId");
  objWriter.Attribute("Id", WireName(*m_eName));
  if (m_bMailbox) {
    objWriter.Start(SoapWriter::kTypes, "Mailbox");
    objWriter.Element(SoapWriter::kTypes, "EmailAddress", m_strMailbox);
    objWriter.End();
  }
  objWriter.End();
}

}  // namespace ews
