#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "body/BodyText.h"
#include "body/Hrn.h"
#include "body/WorkFileReaders.h"
#include "ews/Appointment.h"
#include "ews/Contact.h"
#include "ews/Settings.h"
#include "ews/Task.h"
#include "pipeline/BodySource.h"
#include "pipeline/CalendarProps.h"
#include "pipeline/ContactProps.h"
#include "pipeline/ItemBodies.h"
#include "pipeline/ItemDescriptor.h"
#include "pipeline/ItemProps.h"
#include "pipeline/Losses.h"
#include "pipeline/SaverSteps.h"
#include "platform/Files.h"
#include "platform/LineReader.h"
#include "platform/Paths.h"
#include "target/CTarnyOutlookHandler.h"

// Fills a mail from its record and its work files. Each property is a step of its own, so that a
// bad one costs that property and not the mail; the first body source that exists is taken.
namespace {

using ews::ExtendedPropertyDefinition;
using ews::MapiPropertyType;

constexpr int kMessageFlags = 0x0E07;
constexpr int kMessageDeliveryTime = 0x0E06;
constexpr int kClientSubmitTime = 0x0039;
constexpr int kSubject = 0x0037;
constexpr std::int32_t kMessageFlagRead = 1;
constexpr int kRtfToHtml = 2;     // the converter's selector
constexpr size_t kSignature = 3;  // bytes in front of its page

void MarkAsNoDraft(ews::Item& objItem) {
  objItem.SetExtendedProperty(ExtendedPropertyDefinition(kMessageFlags, MapiPropertyType::Integer),
                              kMessageFlagRead);
}

// Of a page that the converter of rich text wrote.
bool IsBlankPage(const CString& strPage) {
  int nLength = 0;
  const std::unique_ptr<unsigned char[]> pBytes(GetPureMime(strPage, &nLength));
  const std::string_view strHtml(reinterpret_cast<const char*>(pBytes.get()),
                                 static_cast<size_t>(nLength));
  return ShowsNothing(strHtml.substr(std::min(kSignature, strHtml.size())));
}

// What a page may call an attached file: its name, and with less right the same in capitals.
class AttachedNames {
 public:
  explicit AttachedNames(ews::EmailMessage& objMail) {
    const int nCount = objMail.Attachments().Count();
    for (int n = 0; n < nCount; ++n) m_arrPlaces.try_emplace(objMail.Attachments()[n].Name(), n);
    for (int n = 0; n < nCount; ++n) {
      m_arrPlaces.try_emplace(CString(objMail.Attachments()[n].Name()).MakeUpper(), n);
    }
  }
  // The attachment's place, or -1. The page may name a folder, which an attachment has none of.
  int Find(std::u16string_view strTarget) const {
    if (strTarget.find(u"://") != strTarget.npos) return -1;
    CString strName = Sendable(platform::FileNameOf(strTarget));  // as it was attached
    auto itFound = m_arrPlaces.find(strName);
    if (itFound == m_arrPlaces.end()) itFound = m_arrPlaces.find(strName.MakeUpper());
    return itFound == m_arrPlaces.end() ? -1 : itFound->second;
  }

 private:
  std::map<CString, int> m_arrPlaces;
};

// The page names its picture as a file, and in a mailbox there is none beside it: the picture among
// the attachments is what it means. Returns the name of one that is not among them.
CString LinkToAttached(ews::EmailMessage& objMail, CString& strPage) {
  constexpr std::u16string_view kSource = u" src=\"";
  const AttachedNames objNames(objMail);
  const std::u16string_view strOld = strPage.View();
  std::u16string strNew;
  size_t nDone = 0;
  for (size_t nAt = strOld.find(kSource); nAt != strOld.npos; nAt = strOld.find(kSource, nAt)) {
    nAt += kSource.size();
    const size_t nEnd = strOld.find(u'"', nAt);
    if (nEnd == strOld.npos) break;
    const int nPlace = objNames.Find(strOld.substr(nAt, nEnd - nAt));
    if (nPlace < 0) continue;
    const CString strId = CString(u"Picture_") + CString::FromUtf8(std::to_string(nPlace + 1)) +
                          kContentIdEnd;  // a name may hold what no id does
    strNew.append(strOld.substr(nDone, nAt - nDone)).append(u"cid:").append(strId.View());
    objMail.Attachments()[nPlace].SetContentId(strId);
    nDone = nEnd;
  }
  strNew.append(strOld.substr(nDone));
  strPage = CString(std::move(strNew));
  constexpr std::u16string_view kLink = u"<img src=\"";
  const int nLink = strPage.Find(kLink);
  if (nLink < 0) return {};
  const CString strTarget = strPage.Mid(nLink + static_cast<int>(kLink.size()));
  return strTarget.View().starts_with(u"cid:") ? CString() : strTarget.Left(strTarget.Find(u'"'));
}

auto ExistsBelow(const CString& strHtmPath) {
  return [&](const char16_t* pszFile) { return platform::PathExists(strHtmPath + pszFile); };
}

}  // namespace

int CTarnyOutlookHandler::SaveEmailItem(ews::EmailMessage& pobjCkEmail, CString strHtmPath,
                                        ST_EML_INFO* p_ST_EML_INFO) {
  const auto Log = [&](std::u16string_view str) { m_objLogManager.WriteLog(str); };
  ST_EML_INFO& objInfo = *p_ST_EML_INFO;
  Log(u"Inside_SaveEmailItem");
  strHtmPath.MakeUpper();
  Guarded(nullptr, [&] { SetMimeFromPath(pobjCkEmail, strHtmPath); });
  Log(u"Inside_SaveEmailItem_0");
  Log(u"Inside_SaveEmailItem_1");
  Guarded(nullptr, [&] { pobjCkEmail.SetIsRead(objInfo.bRead); });
  Log(u"Inside_SaveEmailItem_2");

  Log(u"Inside_SaveEmailItem_GetAllowDuplicates_0");
  if (GetAllowDuplicates() && !objInfo.strMessageId.IsEmpty() &&
      CheckIfDublicateItemPresent(objInfo.strMessageId)) {
    Log(u"Inside_SaveEmailItem_GetAllowDuplicates_1");
    return kFailure;
  }
  Log(u"Inside_SaveEmailItem_GetAllowDuplicates_2");

  // What a handler does not take goes to the next one out; the attachments are tried all the same.
  bool bComplete = false;  // the body's route has attached what it has
  try {
    Guarded(u"Catch_2_SaveEmailItem", [&] {
      Guarded(u"Catch_1_SaveEmailItem", [&] {
        SetHeader(pobjCkEmail, objInfo);
        bComplete = SetBody(pobjCkEmail, strHtmPath);
      });
      if (bComplete) return;
      Log(u" Before SaveAttachment");
      SaveAttachment(pobjCkEmail);
      Log(u" After SaveAttachment");
    });
  } catch (...) {
    Log(u"Catch_3_SaveEmailItem");
    return kFailure;
  }
  const bool bMimeLost = !bComplete && pobjCkEmail.GetMimeContent().Length() == 0 &&
                         platform::PathExists(strHtmPath + u"\\EmlFile.Eml");
  if (bMimeLost && ews::Settings().bSafe) {  // an empty mail must not count as this one
    throw std::runtime_error("The file EmlFile.Eml could not be read.");
  }
  if (ews::Settings().bSafe) SetItemProps(pobjCkEmail, strHtmPath);
  return kSuccess;
}

// Last, since it stands above the descriptor, and the body's route sets a property of its own.
void CTarnyOutlookHandler::SetItemProps(ews::Item& objItem, const CString& strHtmPath) {
  Guarded(u"ItemProps.json is left out", [&] {
    std::vector<CString> arrNotes;
    const ItemProps objProps = ReadItemProps(strHtmPath + CString(kItemPropsFile), arrNotes);
    ApplyItemProps(objProps, objItem);
    if (auto* pAppointment = dynamic_cast<ews::Appointment*>(&objItem)) {
      ApplyAppointmentProps(objProps.objJson, *pAppointment, arrNotes);
    } else if (auto* pTask = dynamic_cast<ews::Task*>(&objItem)) {
      ApplyTaskProps(objProps.objJson, *pTask, arrNotes);
    } else if (auto* pContact = dynamic_cast<ews::Contact*>(&objItem)) {
      ApplyContactProps(objProps.objJson, *pContact, arrNotes);
    }
    for (const CString& strNote : arrNotes) m_objLogManager.WriteLog(strNote);
  });
}

void CTarnyOutlookHandler::SetHeader(ews::EmailMessage& objMail, ST_EML_INFO& objInfo) {
  const auto Log = [&](std::u16string_view str) { m_objLogManager.WriteLog(str); };
  Log(u"Inside_SaveEmailItem_3");
  Guarded(u"Inside_SaveEmailItem_3_catch", [&] { MarkAsNoDraft(objMail); });
  Log(u"Inside_SaveEmailItem_4");
  Log(CString(u"Date  = ") + objInfo.dtCreationDate.Format(u"%A, %d %B %Y %H:%M:%S") +
      u"\r\nSubject  =" + objInfo.strSubject + u"\r\nFrom  =" + objInfo.strFrom + u"\r\nT0 = " +
      objInfo.strTo + u"\r\n");
  Guarded(nullptr, [&] {
    SetToFromBodyCreationDateProrityReadSubject(objMail, objInfo.dtCreationDate, objInfo.strSubject,
                                                objInfo.bRead);
  });
  Log(u"Inside_SaveEmailItem_After SetToFromBodyCreationDateProrityReadSubject");
  SetAddresses(objMail, objInfo);
  SetImportance(objMail, objInfo.strImportance);
  Log(u"Inside_SaveEmailItem_After Importance Set");
}

void CTarnyOutlookHandler::SetAddresses(ews::EmailMessage& objMail, ST_EML_INFO& objInfo) {
  const auto Log = [&](std::u16string_view str) { m_objLogManager.WriteLog(str); };
  Guarded(nullptr, [&] {
    objInfo.strFrom = GetEmailAddress(ReplaceUnicodeCharacters(objInfo.strFrom));
    if (!objInfo.strFrom.IsEmpty()) objMail.SetFrom(ews::EmailAddress(objInfo.strFrom));
  });
  Log(u"After From Set");
  Guarded(nullptr, [&] {
    objInfo.strTo = ReplaceUnicodeCharacters(objInfo.strTo);
    SaveRecipients(objInfo.strTo, objMail.ToRecipients());
  });
  Log(u"Inside_SaveEmailItem_After To Set");
  Guarded(u"Inside_SaveEmailItem_AfterSaveRecipient_catch", [&] {
    objInfo.strCc = ReplaceUnicodeCharacters(objInfo.strCc.Trim());
    SaveRecipients(objInfo.strCc, objMail.CcRecipients());
    Log(u"Inside_SaveEmailItem_AfterSaveRecipient");
  });
  Log(u"Inside_SaveEmailItem_After CC Set");
  Guarded(nullptr, [&] {
    objInfo.strBcc = ReplaceUnicodeCharacters(objInfo.strBcc.Trim());
    SaveRecipients(objInfo.strBcc, objMail.BccRecipients());
  });
  Log(u"Inside_SaveEmailItem_After Bcc Set");
}

// Returns true if the body's route needs no further attachments.
bool CTarnyOutlookHandler::SetBody(ews::EmailMessage& objMail, const CString& strHtmPath) {
  const auto Log = [&](std::u16string_view str) { m_objLogManager.WriteLog(str); };
  const BodySource eSource = FirstBodySource(kBodyFiles, ExistsBelow(strHtmPath));
  if (eSource == BodySource::kImagePage) {
    SetImagePage(objMail, strHtmPath + u"Imagech111.html");
    return true;
  }
  if (eSource == BodySource::kMime) {
    Log(u" IN \\EmlFile.Eml");
    SetMimeFromFile(objMail, strHtmPath + u"\\EmlFile.Eml");
    Log(u" OUT \\EmlFile.Eml");
  } else if (eSource == BodySource::kRichText) {
    bool bConverted = false;
    Log(u" IN \\ch2111.rtf");
    Guarded(u" INSIDE catch \\ch2111.rtf", [&] { bConverted = SetRtfBody(objMail, strHtmPath); });
    Log(u" OUT \\ch2111.rtf");
    if (!bConverted && ews::Settings().bSafe) {
      NoteLoss(m_objLogManager, u"ch2111.rtf", u"it gives no body; the next one is taken");
      SetLastBody(objMail, strHtmPath);
    }
  } else {
    SetLastBody(objMail, strHtmPath);
  }
  return false;
}

void CTarnyOutlookHandler::SetImagePage(ews::EmailMessage& objMail, const CString& strPage) {
  m_objLogManager.WriteLog(u" Imagech111.html");
  CString strText = ReadBodyFile(strPage, BodyForm::kPage);
  // One that stays is written anew for the next page. The safe switch keeps it for a second try.
  if (!ews::Settings().bSafe) (void)platform::DeleteFileAt(strPage);
  SaveImageAttachment(objMail, u"2ImageAttchment.txt");
  if (ews::Settings().bSafe) {
    const CString strMissing = LinkToAttached(objMail, strText);
    if (!strMissing.IsEmpty()) {
      NoteLoss(m_objLogManager, strMissing, u"the picture of its page is not attached");
    }
  }
  SetBodyText(objMail, ews::BodyType::HTML, strText);
  m_objLogManager.WriteLog(u" RETURN Imagech111.html");
}

// The bodies that are taken where there is no better one. With the safe switch the page stands in
// for a text that says nothing.
void CTarnyOutlookHandler::SetLastBody(ews::EmailMessage& objMail, const CString& strHtmPath) {
  const auto Log = [&](std::u16string_view str) { m_objLogManager.WriteLog(str); };
  const CString strPage = strHtmPath + u"GARImage.html";
  const BodySource eSource = FirstBodySource(kLastBodyFiles, ExistsBelow(strHtmPath));
  bool bTakesPage = eSource == BodySource::kLastPage;
  if (eSource == BodySource::kText) {
    Log(u" IN \\TextFile1.txt");
    const bool bSays = SetTextBody(objMail, strHtmPath + u"\\TextFile1.txt");
    Log(u" OUT \\TextFile1.txt");
    bTakesPage = !bSays && ews::Settings().bSafe && platform::PathExists(strPage);
  }
  if (bTakesPage) {
    SetBodyText(objMail, ews::BodyType::HTML, ReadBodyFile(strPage, BodyForm::kPage));
    Log(u"Save fileGARImage.html");
  }
}

// A file that cannot be read is an empty body; the safe switch has the trace tell, and looks at the
// bytes where the reader without it looks at lengths, drops line ends and repeats text.
CString CTarnyOutlookHandler::ReadBodyFile(const CString& strPath, BodyForm eForm) {
  int nLength = 0;
  if (!ews::Settings().bSafe) return GetStringFromFile(strPath, &nLength, /*bDisp=*/false);
  std::unique_ptr<unsigned char[]> pBytes;
  Guarded(nullptr, [&] { pBytes.reset(GetPureMime(strPath, &nLength)); });
  const CString strName = strPath.Mid(strPath.ReverseFind(u'\\') + 1);
  if (!pBytes) NoteLoss(m_objLogManager, strName, u"the body cannot be read");
  if (pBytes && nLength == 0) NoteLoss(m_objLogManager, strName, u"the body is empty");
  const std::string_view strBytes(reinterpret_cast<const char*>(pBytes.get()),
                                  static_cast<size_t>(nLength));
  return eForm == BodyForm::kPage ? PageText(strBytes) : BodyText(strBytes);
}

void CTarnyOutlookHandler::SetMimeFromFile(ews::EmailMessage& objMail, const CString& strPath) {
  int nLength = 0;
  std::unique_ptr<unsigned char[]> pBytes(GetPureMime(strPath, &nLength));
  objMail.SetMimeContent({u"ASCII", std::move(pBytes), static_cast<size_t>(nLength)});
  MarkAsNoDraft(objMail);
}

// RTF becomes a page, and the page a message with its pictures. False if there is none.
bool CTarnyOutlookHandler::SetRtfBody(ews::EmailMessage& objMail, const CString& strHtmPath) {
  const CString strFolder = strHtmPath + u"Html";
  const CString strRtf = strHtmPath + u"ch2111.rtf";
  const CString strHtml = strFolder + u"\\HTMLFile.html";
  (void)platform::MakeFolderAt(strFolder);  // there already, or missed by the converter
  Hrn objConverter;
  objConverter.SetInWebServer(false);
  objConverter.HrsSetFlags(1, 4);
  m_objLogManager.WriteLog(u"Before HrsConvertFile");
  m_objLogManager.WriteLog(strRtf);
  m_objLogManager.WriteLog(strHtml);
  bool bConverted = true;
  try {
    objConverter.HrsConvertFile(strRtf, strHtml, kRtfToHtml);
  } catch (const std::system_error& objError) {
    bConverted = false;
    m_objLogManager.WriteLog(CString(u"In Catch Last Error Code = ") +
                             CString::FromUtf8(std::to_string(objError.code().value())));
  }
  m_objLogManager.WriteLog(u"After HrsConvertFile");
  // A page that an earlier item left is none of this one, and an empty one is no body.
  if (ews::Settings().bSafe && (!bConverted || IsBlankPage(strHtml))) return false;
  const CString strArchive = ConvertHtmlToMime(strHtml);
  if (!strArchive.IsEmpty()) SetMimeFromFile(objMail, strArchive);
  // What came may be the message instead of a path, and then no file of it could be read.
  return bConverted && objMail.GetMimeContent().Length() > 0;
}

// False where it is empty.
bool CTarnyOutlookHandler::SetTextBody(ews::EmailMessage& objMail, const CString& strPath) {
  CString strText;
  if (ews::Settings().bSafe) {
    strText = InLines(ReadBodyFile(strPath, BodyForm::kText));
  } else if (auto objReader = platform::WideLineReader::Open(strPath)) {
    CString strLine;
    while (objReader->ReadLine(strLine)) {  // kept: a CR in front of the line's end stays
      strText += WithoutBodyStops(strLine);
      strText += u"\r\n";
    }
  } else {
    strText = ReadBodyFile(strPath, BodyForm::kText);
  }
  m_objLogManager.WriteLog(u"Save file \\TextFile1.txt");
  SetBodyText(objMail, ews::BodyType::Text, strText);
  return !strText.IsEmpty();
}

void CTarnyOutlookHandler::SetToFromBodyCreationDateProrityReadSubject(ews::Item& pobjCkEmail,
                                                                       COleDateTime date,
                                                                       CString strSubject, bool) {
  Guarded(nullptr, [&] {
    const ews::UtcTime objTime{ToUniversalTime(GetDateTime(date))};
    for (const int nTag : {kMessageDeliveryTime, kClientSubmitTime}) {
      pobjCkEmail.SetExtendedProperty(
          ExtendedPropertyDefinition(nTag, MapiPropertyType::SystemTime), objTime);
    }
  });
  Guarded(nullptr, [&] {
    if (strSubject.IsEmpty()) return;
    pobjCkEmail.SetExtendedProperty(ExtendedPropertyDefinition(kSubject, MapiPropertyType::String),
                                    strSubject);
  });
}

CString CTarnyOutlookHandler::GetEmailAddress(CString str) {
  if (m_nFlag == 0) return str;
  const int nAt = str.Find(u"\" <");
  return nAt < 0 ? str : str.Mid(nAt + 1);
}

void CTarnyOutlookHandler::SaveImageAttachment(ews::EmailMessage& pobjCkEmail,
                                               CString strImageFile) {
  AttachListed(pobjCkEmail, GetCurrPath(), strImageFile, EmptyLines::kSkipped, m_objLogManager);
}

void CTarnyOutlookHandler::SaveAttachment(ews::EmailMessage& pobjCkEmail) {
  // The whole message carries its attachments itself.
  if (platform::PathExists(GetCurrPath() + u"\\EmlFile.Eml")) return;
  AttachListed(pobjCkEmail, GetCurrPath(), kAttachmentList, EmptyLines::kTried, m_objLogManager);
}
