#include "ews/Item.h"

#include "ews/ExchangeService.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/SoapWriter.h"

namespace ews {

using enum SoapWriter::Vocabulary;

namespace {
constexpr const char* kAttachmentsFailed = "At least one attachment couldn't be created.";
}  // namespace

void Item::Save(const FolderId& objFolder) {
  if (!m_pService) throw ServiceException(kNoService);
  if (m_objId.IsSet()) throw ServiceException(kHasId);
  const ResponseMessage objAnswer =
      m_pService->CallForOne(ExchangeService::Effect::kCreates,
                             [&](SoapWriter& objWriter) { WriteCreateItem(objWriter, objFolder); });
  if (objAnswer.arrItems.empty() || objAnswer.arrItems.front().strId.empty()) {
    throw ServiceException(
        WithOpenOutcome("The request failed. The server named no id for the new item.", "It"));
  }
  const ItemRecord& objRecord = objAnswer.arrItems.front();
  m_objId = {CString::FromUtf8(objRecord.strId), CString::FromUtf8(objRecord.strChangeKey)};
  // A server that knows attachments inside CreateItem lists them; one that does not is given them
  // apart. How many it lists says nothing: a mail can bring attachments of its own.
  if (m_objAttachments.Count() > 0 && !objRecord.bAttachments) CreateAttachments();
}

void Item::WriteCreateAttributes(SoapWriter& objWriter) const {
  objWriter.Attribute("MessageDisposition", std::string_view("SaveOnly"));
}

void Item::WriteCreateItem(SoapWriter& objWriter, const FolderId& objFolder) const {
  objWriter.Start(kMessages, "CreateItem");
  WriteCreateAttributes(objWriter);
  objWriter.Start(kMessages, "SavedItemFolderId");
  objFolder.WriteTo(objWriter);
  objWriter.End();
  objWriter.Start(kMessages, "Items");
  objWriter.Start(kTypes, ElementName());
  WriteCommonProperties(objWriter);
  WriteOwnProperties(objWriter);
  objWriter.End();
  objWriter.End();
  objWriter.End();
}

void Item::WriteCommonProperties(SoapWriter& objWriter) const {
  if (m_objMimeContent.IsSet()) {
    objWriter.Start(kTypes, "MimeContent");
    objWriter.Attribute("CharacterSet", m_objMimeContent.CharacterSet());
    objWriter.Base64(m_objMimeContent.Content(), m_objMimeContent.Length());
    objWriter.End();
  }
  if (m_objBody) {
    objWriter.Start(kTypes, "Body");
    objWriter.Attribute("BodyType", WireName(m_objBody->BodyType()));
    objWriter.Text(m_objBody->Text());
    objWriter.End();
  }
  if (m_objAttachments.Count() > 0) {
    objWriter.Start(kTypes, "Attachments");
    m_objAttachments.WriteTo(objWriter);
    objWriter.End();
  }
  if (!m_arrCategories.empty()) {
    objWriter.Start(kTypes, "Categories");
    for (const CString& str : m_arrCategories) objWriter.Element(kTypes, "String", str);
    objWriter.End();
  }
  if (m_eImportance) objWriter.Element(kTypes, "Importance", WireName(*m_eImportance));
  m_objProperties.WriteTo(objWriter);
}

void Item::CreateAttachments() {
  try {
    const SoapResponse objAnswer =
        m_pService->Call(ExchangeService::Effect::kCreates, [&](SoapWriter& objWriter) {
          objWriter.Start(kMessages, "CreateAttachment");
          objWriter.Start(kMessages, "ParentItemId");
          objWriter.Attribute("Id", m_objId.strUniqueId);
          objWriter.End();
          objWriter.Start(kMessages, "Attachments");
          m_objAttachments.WriteTo(objWriter);
          objWriter.End();
          objWriter.End();
        });
    if (objAnswer.arrMessages.empty()) throw ServiceException(kNoAnswer);
    for (const ResponseMessage& objMessage : objAnswer.arrMessages) {
      if (objMessage.bError) {
        throw ServiceResponseException(objMessage.strText, objMessage.strCode);
      }
    }
  } catch (const ServiceResponseException& e) {
    if (Settings().bSafe) FailIncomplete(e);
    throw ServiceResponseException(kAttachmentsFailed, e.ErrorCode());
  } catch (const ServiceException& e) {
    if (Settings().bSafe) FailIncomplete(e);
    throw;
  }
}

// An item that stays is told in words that neither leave its outcome open nor promise that a later
// try finds nothing: it would be counted as whole.
void Item::FailIncomplete(const ServiceException& objError) {
  if (!Delete()) {
    throw ServiceException(std::string(kAttachmentsFailed) + " The item is there without it.");
  }
  m_objId = {};
  const std::string strText = objError.what();
  const bool bLasts = SaysWaitedFor(strText) || SaysLogonRefused(strText);
  throw ServiceException(bLasts ? kAttachmentsFailed + (" " + strText) : kAttachmentsFailed);
}

bool Item::Delete() {
  try {
    (void)m_pService->CallForOne(ExchangeService::Effect::kOnceAtMost, [&](SoapWriter& objWriter) {
      objWriter.Start(kMessages, "DeleteItem");
      objWriter.Attribute("DeleteType", std::string_view("HardDelete"));
      objWriter.Attribute("SendMeetingCancellations", std::string_view("SendToNone"));
      objWriter.Attribute("AffectedTaskOccurrences", std::string_view("AllOccurrences"));
      objWriter.Start(kMessages, "ItemIds");
      objWriter.Start(kTypes, "ItemId");
      objWriter.Attribute("Id", m_objId.strUniqueId);
      objWriter.End();
      objWriter.End();
      objWriter.End();
    });
    return true;
  } catch (const ServiceResponseException& e) {
    return e.ErrorCode() == "ErrorItemNotFound";
  } catch (const ServiceException&) {
    return false;
  }
}

ItemRecord Item::Fetch(ExchangeService& objService, const ItemId& objId) {
  ResponseMessage objAnswer =
      objService.CallForOne(ExchangeService::Effect::kReads, [&](SoapWriter& objWriter) {
        objWriter.Start(kMessages, "GetItem");
        objWriter.Start(kMessages, "ItemShape");
        objWriter.Element(kTypes, "BaseShape", std::string_view("AllProperties"));
        objWriter.End();
        objWriter.Start(kMessages, "ItemIds");
        objWriter.Start(kTypes, "ItemId");
        objWriter.Attribute("Id", objId.strUniqueId);
        objWriter.End();
        objWriter.End();
        objWriter.End();
      });
  if (objAnswer.arrItems.empty()) throw ServiceException(kNoAnswer);
  return std::move(objAnswer.arrItems.front());
}

void Item::TakeOver(const ItemRecord& objRecord) {
  m_objId = {CString::FromUtf8(objRecord.strId), CString::FromUtf8(objRecord.strChangeKey)};
  for (const auto eImportance :
       {ews::Importance::Low, ews::Importance::Normal, ews::Importance::High}) {
    if (objRecord.strImportance == WireName(eImportance)) m_eImportance = eImportance;
  }
}

}  // namespace ews
