#include <algorithm>
#include <array>
#include <exception>

#include "ews/Appointment.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "platform/Files.h"
#include "target/CTarnyOutlookHandler.h"
#include "target/StoreError.h"

// A local store as the target of a run: how it is attached, where in it items go, and how an item
// that a saver has filled for a server gets there.
namespace {

struct ClassRow {
  std::string_view strElement;
  std::u16string_view strClass;
};
constexpr std::array<ClassRow, 5> kClasses{{
    {"Message", u"IPM.Note"},
    {"CalendarItem", u"IPM.Appointment"},
    {"Task", u"IPM.Task"},
    {"Contact", rdo::kContactClass},
    {"DistributionList", rdo::kDistListClass},
}};

CString ClassOf(const ews::Item& objItem) {
  const auto it = std::ranges::find(kClasses, objItem.ElementName(), &ClassRow::strElement);
  return it == kClasses.end() ? kClasses.front().strClass : it->strClass;
}

// What a store does not take of occurrences is told; the rest of the item is there all the same.
std::vector<ews::RefusedOccurrence> SetOccurrences(const IRDOMail& objMail,
                                                   const ews::OccurrenceChanges& objChanges) {
  std::vector<ews::RefusedOccurrence> arrRefused;
  const auto Set = [&](std::int64_t nIndex, const std::string& strUpdates) {
    try {
      objMail.SetOccurrence(nIndex, strUpdates);
    } catch (const std::exception& objError) {
      arrRefused.push_back({nIndex, objError.what()});
    }
  };
  for (const std::int64_t nIndex : objChanges.arrDeleted) Set(nIndex, {});
  for (const ews::OccurrenceChange& obj : objChanges.arrChanged) Set(obj.nIndex, obj.AsXml());
  return arrRefused;
}

std::vector<ews::RefusedOccurrence> FillAndSave(const IRDOMail& objMail, ews::Item& objItem) {
  const ews::MimeContent& objMime = objItem.GetMimeContent();
  if (objMime.IsSet()) {
    objMail.Import(objMime.CharacterSet(),
                   {reinterpret_cast<const char*>(objMime.Content().get()), objMime.Length()});
  }
  objMail.SetFields(objItem.FieldsAsXml(), objItem.ZoneOfFields());
  std::vector<ews::RefusedOccurrence> arrRefused;
  if (auto* pSeries = dynamic_cast<ews::Appointment*>(&objItem)) {
    arrRefused = SetOccurrences(objMail, pSeries->Occurrences());
  }
  const IRDOAttachments objFiles = objMail.GetAttachments();
  if (objFiles.IsEmpty() && objItem.Attachments().Count() > 0) {
    throw StoreError("The store takes no attachments of such an item.");
  }
  for (int n = 0; n < objItem.Attachments().Count(); ++n) {
    const ews::Attachment& objFile = objItem.Attachments()[n];
    objFiles.Add({objFile.Name(), objFile.Path(), objFile.ContentType(), objFile.ContentId(),
                  objFile.IsContactPhoto()});
  }
  objMail.Save();
  return arrRefused;
}

// strWords: the store's own about its folders, since one was asked for last.
std::string WhyNoFolder(const CString& strWords) {
  const std::string strText(kNoStoreFolder);
  if (!ews::Settings().bSafe || strWords.IsEmpty()) return strText;
  return strText + " " + strWords.ToUtf8();
}

}  // namespace

bool CTarnyOutlookHandler::LogonToStore(CString strPath) {
  const auto IsAttached = [&] {
    bool bAttached = false;
    Guarded(nullptr, [&] {
      bAttached = !m_objRdoPstStore.IsEmpty() && m_objRdoPstStore.GetPstPath() == strPath &&
                  !m_objRdoPstStore.GetRootFolder().IsEmpty();  // opens it: it may be damaged
    });
    return bAttached;
  };
  const auto IsDone = [&](bool bDone) {
    if (bDone && IsAttached()) return true;
    ClearPrevisInstance();
    m_objRdoPstStore.Release();  // also one that cannot be saved: items must not go into it
    return false;
  };
  if (!platform::PathExists(strPath)) return IsDone(CreatePstFile(strPath) == kSuccess);
  return IsDone(GetAllExchangeProfiles(nullptr) == kSuccess && OpenPstFile(strPath)) ||
         IsDone(CreatePstFileWithRedemption(strPath));  // of no profile yet
}

void CTarnyOutlookHandler::GoToStoreFolder(CString strFolder, int nType) {
  m_objCurrFolder.Release();
  m_strErrorMsg.Empty();
  IRDOFolders objBelow;
  (void)DoneInStore(m_strErrorMsg, [&] {
    m_objCurrFolder = m_objRdoPstStore.GetRootFolder();
    objBelow = CreateFolder(strFolder, m_objCurrFolder.GetFolders(), nType);
  });
  if (!objBelow.IsEmpty()) return;
  m_objCurrFolder.Release();  // else the items would go into its parent
  m_objLogManager.WriteLog(u"The folder could not be made");
}

void CTarnyOutlookHandler::SaveItem(ews::Item& objItem) {
  HasStore() ? (void)SaveToStore(objItem) : objItem.Save(m_objWebAccess.m_fldCurrent);
}

std::vector<ews::RefusedOccurrence> CTarnyOutlookHandler::SaveToStore(ews::Item& objItem) {
  if (m_objCurrFolder.IsEmpty()) throw StoreError(WhyNoFolder(m_strErrorMsg));
  try {
    const auto objMail = m_objCurrFolder.GetItems().Add<IRDOMail>(ClassOf(objItem));
    if (objMail.IsEmpty()) throw StoreError("The store makes no such item.");
    return FillAndSave(objMail, objItem);
  } catch (const ews::ServiceException&) {
    throw;  // a value that cannot be: whoever sees the text knows what to do
  } catch (const std::exception& objError) {
    throw StoreError(WordsOf(objError));
  } catch (...) {
    throw StoreError(std::string(kStoreFailed) + " no reason was given");
  }
}

void CTarnyOutlookHandler::SetServiceTimeout(int nMilliseconds) {
  if (!HasStore()) m_objWebAccess.Service().SetTimeout(nMilliseconds);
}
