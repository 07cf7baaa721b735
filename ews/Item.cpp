#include "ews/Item.h"

#include <algorithm>

#include "ews/ExchangeService.h"
#include "ews/ItemFields.h"
#include "ews/MailboxFull.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/SoapWriter.h"
#include "platform/WindowsTimeZone.h"

namespace ews {

using enum SoapWriter::Vocabulary;
using Effect = ExchangeService::Effect;

namespace {

constexpr const char* kAttachmentsFailed = "At least one attachment couldn't be created.";

Failure OutageOf(const Failure& objFailure) {
  Failure objOutage;
  objOutage.bOutage = true;
  objOutage.nBackOff = objFailure.nBackOff;
  return objOutage;
}

bool SaysFull(const ServiceException& objError) {
  const auto* pRefusal = dynamic_cast<const ServiceResponseException*>(&objError);
  return pRefusal && IsMailboxFull(pRefusal->ErrorCode());
}

constexpr std::string_view kMimeContent = "item:MimeContent";
constexpr std::string_view kBody = "item:Body";
constexpr std::string_view kAttachments = "item:Attachments";  // never touched: they go apart then
constexpr std::string_view kCategories = "item:Categories";
constexpr std::string_view kImportance = "item:Importance";
constexpr std::string_view kSensitivity = "item:Sensitivity";
constexpr std::string_view kReminderDueBy = "item:ReminderDueBy";
constexpr std::string_view kReminderIsSet = "item:ReminderIsSet";
constexpr std::string_view kReminderMinutes = "item:ReminderMinutesBeforeStart";

}  // namespace

void Item::SetMimeContent(MimeContent objContent) {
  m_objMimeContent = std::move(objContent);
  Touch(kMimeContent);
}

void Item::SetBody(MessageBody objBody) {
  m_objBody = std::move(objBody);
  Touch(kBody);
}

void Item::SetImportance(ews::Importance eImportance) {
  m_eImportance = eImportance;
  Touch(kImportance);
}

void Item::SetSensitivity(ews::Sensitivity eSensitivity) {
  m_eSensitivity = eSensitivity;
  Touch(kSensitivity);
}

void Item::SetNoReminder() {
  m_bReminder = false;
  Touch(kReminderIsSet);
}

void Item::SetReminderMinutes(int nBeforeStart) {
  m_bReminder = true;
  m_nReminderMinutes = nBeforeStart;
  Touch(kReminderIsSet);
  Touch(kReminderMinutes);
}

void Item::SetReminderTime(UtcTime objTime) {
  m_bReminder = true;
  m_objReminderTime = objTime;
  Touch(kReminderIsSet);
  Touch(kReminderDueBy);
}

void Item::SetCategories(StringList objList) {
  m_objCategories = std::move(objList);
  Touch(kCategories);
}

void Item::Touch(std::string_view strUri) {
  if (!m_objId.IsSet()) return;
  if (!IsTouched(strUri)) m_arrTouched.push_back(strUri);
}

bool Item::IsTouched(std::string_view strUri) const {
  return std::find(m_arrTouched.begin(), m_arrTouched.end(), strUri) != m_arrTouched.end();
}

void Item::Save(const FolderId& objFolder) {
  if (!m_pService) throw ServiceException(kNoService);
  if (m_objId.IsSet()) throw ServiceException(kHasId);
  const auto fnBody = [&](SoapWriter& objWriter) { WriteCreateItem(objWriter, objFolder); };
  const ResponseMessage objAnswer =
      m_pService->CallForOne(Effect::kCreates, fnBody, LocalFields().empty() ? "" : ZoneName());
  if (objAnswer.arrItems.empty() || objAnswer.arrItems.front().strId.empty()) {
    throw ServiceException(
        WithOpenOutcome("The request failed. The server named no id for the new item.", "It"));
  }
  const ItemRecord& objRecord = objAnswer.arrItems.front();
  m_objId = {CString::FromUtf8(objRecord.strId), CString::FromUtf8(objRecord.strChangeKey)};
  SetStored();
  // A server that knows attachments inside CreateItem lists them; one that does not is given them
  // apart. How many it lists says nothing: a mail can bring attachments of its own.
  if (objRecord.bAttachments) {
    m_objAttachments.SetStored(objRecord.arrAttachmentIds);
  } else if (m_objAttachments.HasNew()) {
    CreateAttachments();
  }
}

void Item::SendChanges(const std::function<void(SoapWriter&)>& fnAttributes) {
  if (!m_pService) throw ServiceException(kNoService);
  if (!m_objId.IsSet()) throw ServiceException(kNoId);
  if (!m_arrTouched.empty() || m_objProperties.IsTouched()) {
    const auto fnBody = [&](SoapWriter& objWriter) { WriteUpdateItem(objWriter, fnAttributes); };
    const auto arrLocal = LocalFields();
    const bool bInZone = std::any_of(arrLocal.begin(), arrLocal.end(),
                                     [&](std::string_view strUri) { return IsTouched(strUri); });
    const ResponseMessage objAnswer =
        m_pService->CallForOne(Effect::kCreates, fnBody, bInZone ? ZoneName() : "");
    if (!objAnswer.arrItems.empty() && !objAnswer.arrItems.front().strId.empty()) {
      const ItemRecord& objRecord = objAnswer.arrItems.front();
      m_objId = {CString::FromUtf8(objRecord.strId), CString::FromUtf8(objRecord.strChangeKey)};
    }
    SetStored();
  }
  if (m_objAttachments.HasNew()) CreateAttachments();
}

ExchangeService& Item::Service() const {
  if (!m_pService) throw ServiceException(kNoService);
  return *m_pService;
}

std::string Item::ZoneName() const {
  return OwnZone().empty() ? platform::WindowsTimeZoneName() : OwnZone();
}

void Item::SetStored() {
  m_arrTouched.clear();
  m_objProperties.SetStored();
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
  ItemFields objFields(objWriter);
  WriteFields(objFields);
  objWriter.End();
  objWriter.End();
  objWriter.End();
}

void Item::WriteUpdateItem(SoapWriter& objWriter,
                           const std::function<void(SoapWriter&)>& fnAttributes) const {
  objWriter.Start(kMessages, "UpdateItem");
  fnAttributes(objWriter);
  objWriter.Start(kMessages, "ItemChanges");
  objWriter.Start(kTypes, "ItemChange");
  objWriter.Start(kTypes, "ItemId");
  objWriter.Attribute("Id", m_objId.strUniqueId);
  if (!m_objId.strChangeKey.IsEmpty()) objWriter.Attribute("ChangeKey", m_objId.strChangeKey);
  objWriter.End();
  objWriter.Start(kTypes, "Updates");
  ItemFields objFields(objWriter, ElementName(), m_arrTouched);
  WriteFields(objFields);
  objWriter.End();
  objWriter.End();
  objWriter.End();
  objWriter.End();
}

std::string Item::FieldsAsXml() const {
  return XmlOf([this](SoapWriter& objWriter) {
    objWriter.Start(kTypes, ElementName());
    ItemFields objFields(objWriter);
    WriteFields(objFields, Content::kWithout);
    objWriter.End();
  });
}

void Item::WriteFields(ItemFields& objFields, Content eContent) const {
  const bool bContent = eContent == Content::kWith;
  objFields.Field(kMimeContent, bContent && m_objMimeContent.IsSet(), [&](SoapWriter& objWriter) {
    objWriter.Attribute("CharacterSet", m_objMimeContent.CharacterSet());
    objWriter.Base64(m_objMimeContent.Content(), m_objMimeContent.Length());
  });
  objFields.Field(kSensitivity, m_eSensitivity.has_value(),
                  [&](SoapWriter& objWriter) { objWriter.Text(WireName(*m_eSensitivity)); });
  objFields.Field(kBody, m_objBody.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Attribute("BodyType", WireName(m_objBody->BodyType()));
    objWriter.Text(m_objBody->Text());
  });
  objFields.Field(kAttachments, bContent && m_objAttachments.HasNew(),
                  [&](SoapWriter& objWriter) { m_objAttachments.WriteNewTo(objWriter); });
  objFields.Field(kCategories, !Categories().empty(), [&](SoapWriter& objWriter) {
    for (const CString& str : Categories()) objWriter.Element(kTypes, "String", str);
  });
  objFields.Field(kImportance, m_eImportance.has_value(),
                  [&](SoapWriter& objWriter) { objWriter.Text(WireName(*m_eImportance)); });
  objFields.Field(kReminderDueBy, m_objReminderTime.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(FormatUtc(*m_objReminderTime)));
  });
  objFields.Flag(kReminderIsSet, m_bReminder);
  objFields.Field(kReminderMinutes, m_nReminderMinutes.has_value(), [&](SoapWriter& objWriter) {
    objWriter.Text(std::string_view(std::to_string(*m_nReminderMinutes)));
  });
  objFields.Extended(m_objProperties);
  WriteOwnFields(objFields);
}

void Item::CreateAttachments() {
  try {
    SendNewAttachments();
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
    throw ServiceException(std::string(kAttachmentsFailed) + kStaysIncomplete);
  }
  const std::string strText = objError.what();
  if (SaysGivenUp(strText) || SaysLogonRefused(strText)) {
    throw ServiceException(kAttachmentsFailed + (" " + strText));
  }
  // Nothing is left of it, so that it can be sent again as a whole once the outage is over.
  const Failure& objFailure = objError.Cause();
  if (SaysFull(objError)) throw ServiceException(WithMailboxFull(kAttachmentsFailed));
  if (!objFailure.bOutage) throw ServiceException(kAttachmentsFailed);
  const std::string strWhole = kAttachmentsFailed + (" " + WithoutOpenOutcome(strText));
  throw ServiceException(WithOutage(strWhole, objFailure.nBackOff), OutageOf(objFailure));
}

bool Item::Delete() {
  if (!Delete(Service(), m_objId.strUniqueId)) return false;
  m_objId = {};
  return true;
}

bool Item::Delete(ExchangeService& objService, const CString& strId) {
  try {
    (void)objService.CallForOne(Effect::kOnceAtMost, [&](SoapWriter& objWriter) {
      objWriter.Start(kMessages, "DeleteItem");
      objWriter.Attribute("DeleteType", std::string_view("HardDelete"));
      objWriter.Attribute("AffectedTaskOccurrences", std::string_view("AllOccurrences"));
      objWriter.Attribute("SendMeetingCancellations", std::string_view("SendToNone"));
      objWriter.Start(kMessages, "ItemIds");
      objWriter.Start(kTypes, "ItemId");
      objWriter.Attribute("Id", strId);
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

void Item::SendNewAttachments() {
  const SoapResponse objAnswer = m_pService->Call(Effect::kCreates, [&](SoapWriter& objWriter) {
    objWriter.Start(kMessages, "CreateAttachment");
    objWriter.Start(kMessages, "ParentItemId");
    objWriter.Attribute("Id", m_objId.strUniqueId);
    objWriter.End();
    objWriter.Start(kMessages, "Attachments");
    m_objAttachments.WriteNewTo(objWriter);
    objWriter.End();
    objWriter.End();
  });
  if (objAnswer.arrMessages.empty()) throw ServiceException(kNoAnswer);
  std::vector<std::string> arrIds;
  for (const ResponseMessage& objMessage : objAnswer.arrMessages) {
    if (objMessage.bError) throw ServiceResponseException(objMessage.strText, objMessage.strCode);
    arrIds.insert(arrIds.end(), objMessage.arrAttachmentIds.begin(),
                  objMessage.arrAttachmentIds.end());
  }
  m_objAttachments.SetStored(arrIds);
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
  for (const ews::BodyType eType : {ews::BodyType::HTML, ews::BodyType::Text}) {
    if (objRecord.strBodyType != WireName(eType)) continue;
    m_objBody = MessageBody(eType, CString::FromUtf8(objRecord.strBody));
  }
  for (const std::string& str : objRecord.arrCategories) {
    m_objCategories.Add(CString::FromUtf8(str));
  }
}

}  // namespace ews
