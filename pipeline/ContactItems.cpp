#include <algorithm>
#include <map>

#include "body/ContactTextFile.h"
#include "ews/Contact.h"
#include "ews/Settings.h"
#include "pipeline/ContactLabels.h"
#include "pipeline/ItemBodies.h"
#include "pipeline/ItemDescriptor.h"
#include "pipeline/SaverSteps.h"
#include "pipeline/TaggedBody.h"
#include "platform/Files.h"
#include "target/CTarnyOutlookHandler.h"

// Fills a contact from the tagged fields of its record and its work files.
namespace {

constexpr std::u16string_view kPhoto = u"ContactPhoto.jpg";

void AttachPhoto(ews::Contact& objContact, const CString& strPath) {
  objContact.Attachments().AddFileAttachment(kPhoto, strPath);
  objContact.Attachments()[0].SetContentId(kPhoto);
  // kept: without the safe switch it is an attachment like others
  objContact.Attachments()[0].SetContactPhoto(ews::Settings().bSafe);
}

// With the safe switch a file without text leaves what the tagged fields have set, and the next one
// is looked at: false then.
bool SetContactText(ews::Contact& objContact, ews::BodyType eType, const CString& strText) {
  if (ews::Settings().bSafe && strText.IsEmpty()) return false;
  SetBodyText(objContact, eType, strText);
  return true;
}

}  // namespace

int CTarnyOutlookHandler::SaveContactItem(ews::Contact& objCkEmail, CString strHtmPath,
                                          ST_EML_INFO* pobjST_EML_INFO) {
  const auto Log = [&](std::u16string_view str) { m_objLogManager.WriteLog(str); };
  const ST_EML_INFO& objInfo = *pobjST_EML_INFO;
  Log(u"SaveContactItem_0)");
  CString strGroup;
  if (GetIfGroup(objInfo.strBody, strGroup)) {
    Log(u"SaveContactItem_GetIfGroup)");
    return kSuccess;
  }
  Log(u"SaveContactItem_GetIfGroup_After");
  SetContactFields(objCkEmail, objInfo.strBody);
  SetImportance(objCkEmail, objInfo.strImportance);
  if (const CString strPath = strHtmPath + kPhoto; platform::PathExists(strPath)) {
    try {
      AttachPhoto(objCkEmail, strPath);
    } catch (...) {
      Log(u"SaveContactItem_Attachment_catch");
      if (!ews::Settings().bSafe) return kFailure;  // with it, a contact goes without its photo
    }
  }
  Guarded(u"SaveContactItem_End_catch", [&] {
    Guarded(u"SaveContactItem_MessageBody_Catch",
            [&] { SetContactBody(objCkEmail, strHtmPath, objInfo.strBody); });
    Log(u"SaveContactItem_11comtextjjAttach_T");
    AttachListed(objCkEmail, strHtmPath, kAttachmentList, EmptyLines::kTried, m_objLogManager);
    Log(u"SaveContactItem_11comtextjjAttach_T_After");
  });
  return kSuccess;
}

// Each label sets what it sets whatever was there, so that of several items with one label the last
// alone need be looked at: items can share a long text.
void CTarnyOutlookHandler::SetContactFields(ews::Contact& objContact, const CString& strBody) {
  const TaggedBody objBody(strBody);
  std::map<const ContactLabel*, const TaggedBody::Item*> mapLast;
  for (const TaggedBody::Item& objItem : objBody.Items()) {
    if (const ContactLabel* pLabel = FindContactLabel(objItem.strLabel)) mapLast[pLabel] = &objItem;
  }
  std::vector<const TaggedBody::Item*> arrItems;
  for (const auto& [pLabel, pItem] : mapLast) arrItems.push_back(pItem);
  std::ranges::sort(arrItems);
  for (const TaggedBody::Item* pItem : arrItems) {
    SaveContactItemInner(pItem->strLabel, pItem->strValue, objContact);
  }
}

void CTarnyOutlookHandler::SaveContactItemInner(CString strItemType, CString strItemValue,
                                                ews::Contact& objCkEmail) {
  const ContactLabel* pLabel = FindContactLabel(strItemType);
  if (pLabel) Guarded(nullptr, [&] { pLabel->fnSet(objCkEmail, SentText(strItemValue)); });
}

void CTarnyOutlookHandler::SetContactBody(ews::Contact& objContact, const CString& strHtmPath,
                                          const CString& strRecordBody) {
  const auto Read = [&](const CString& strPath, BodyForm eForm) {
    return ews::Settings().bSafe ? ReadBodyFile(strPath, eForm) : ReadRtfSrting(strPath);
  };
  const CString strFile = strHtmPath + u"TextFile1.eml";
  const bool bRtf = platform::PathExists(strHtmPath + u"ch2111.rtf");
  if (bRtf && SetPageFromRtf(objContact, strHtmPath, kContactRtf, m_objLogManager)) return;
  if (bRtf && !ews::Settings().bSafe) {
    // kept: in place of rich text the tagged fields, as they are
    if (platform::PathExists(strFile)) {
      SetBodyText(objContact, ews::BodyType::Text, strRecordBody);
    }
    return;
  }
  if (platform::PathExists(strFile) &&
      SetContactText(objContact, ews::BodyType::Text, Read(strFile, BodyForm::kText))) {
    return;
  }
  if (const CString strPage = strHtmPath + u"ch111.html"; platform::PathExists(strPage)) {
    (void)SetContactText(objContact, ews::BodyType::HTML,
                         WithPageTags(Read(strPage, BodyForm::kPage)));
  }
}

int CTarnyOutlookHandler::GetTagCount(CString folderPathName) {
  return folderPathName.Replace(kItemEnd, u"");
}

CString CTarnyOutlookHandler::RemoveTag(CString folderPathName) {
  if (const int nEnd = folderPathName.Find(kItemEnd); nEnd >= 0) {
    folderPathName = folderPathName.Left(nEnd);
  }
  folderPathName.Replace(kItemBegin, u"");
  return folderPathName;
}

CString CTarnyOutlookHandler::CutContactItem(CString folderPathName, int i) {
  int nAt = folderPathName.Find(kItemBegin);
  for (; i > 0 && nAt >= 0; --i) nAt = folderPathName.Find(kItemBegin, nAt + 1);
  return nAt < 0 || i < 0 ? CString() : RemoveTag(folderPathName.Mid(nAt));
}

bool CTarnyOutlookHandler::GetIfGroup(CString strBody, CString& strChildGroupName) {
  CString strField;
  CString strValue;
  SaprateFields(CutContactItem(strBody, 0), strField, strValue);
  if (!strField.Contains(u"Child Group Name")) return false;
  strChildGroupName = strValue;
  return true;
}
