#include <exception>

#include "ews/Appointment.h"
#include "ews/Contact.h"
#include "ews/ContactGroup.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/Task.h"
#include "pipeline/ItemRun.h"
#include "target/CTarnyOutlookHandler.h"
#include "target/StoreError.h"

// Appointments, tasks, contacts and lists on their way into the target folder. What is done where a
// save fails differs from type to type:
//
//   appointment   once more into the same folder; those who attend are added only then
//   task          into "Task\" of the mailbox
//   contact       into "Other Contacts\" below the contacts, or a folder of it
//   list          nothing, and nothing is told
//
// kept: a task whose folder cannot be made and a list that is refused count as saved. With the safe
// switch they fail with the server's words, those who attend are there from the beginning, and what
// may have been saved already is not sent again.
namespace {

using ews::WellKnownFolderName;

constexpr int kTaskFolderType = 7;
constexpr int kContactFolderType = 14;

// Whether a second save could bring the item twice, or is of no use.
bool IsFinal(const std::exception& objError) {
  if (dynamic_cast<const StoreError*>(&objError)) return true;
  const auto* pError = dynamic_cast<const ews::ServiceException*>(&objError);
  return ews::Settings().bSafe && pError && pError->Cause().bMayBeCarriedOut;
}

CString ContactFallback(const CString& strContactFolder) {
  const CString strFolder = u"Other Contacts\\";
  return strContactFolder.IsEmpty() ? strFolder : strFolder + strContactFolder + u"\\";
}

}  // namespace

int CTarnyOutlookHandler::ImportOtherType(ItemRun& objRun) {
  switch (objRun.objInfo.nItemType) {
    case TYPE_CALENDER:
      return ImportAppointment(objRun);
    case TYPE_TASK:
      return ImportTask(objRun);
    case TYPE_CONTACT:
      return ImportContact(objRun);
    default:
      return ImportList(objRun);
  }
}

// What the safe switch adds to an item, and to the folder, before the first save. False where the
// folder could not be made, which is told then.
bool CTarnyOutlookHandler::MakeReady(ews::Item& objItem, ItemRun& objRun) {
  if (!ews::Settings().bSafe) return true;
  try {
    SetItemProps(objItem, objRun.strFilePath);
    m_objWebAccess.EnsureCurrentFolder();
    return true;
  } catch (const std::exception& objError) {
    (void)Fail(objRun, u"The folder could not be made", objError);
    return false;
  }
}

// Makes a folder the current one. With the safe switch its parents are of its kind, too, and a
// folder that cannot be made is thrown.
bool CTarnyOutlookHandler::GoToFolder(const CString& strFolder, int nType,
                                      const ews::FolderId& objRoot) {
  if (!ews::Settings().bSafe) {
    return m_objWebAccess.CreateFolderInStore(strFolder, nType, objRoot, true) != 0;
  }
  ews::FolderId objParent = objRoot;
  for (int nStart = 0, nEnd = 0; nStart < strFolder.GetLength(); nStart = nEnd + 1) {
    nEnd = strFolder.Find(u'\\', nStart);
    const CString strLevel = strFolder.Mid(nStart, nEnd + 1 - nStart);
    (void)m_objWebAccess.CreateFolderInStore(strLevel, nType, objParent, true);
    m_objWebAccess.EnsureCurrentFolder();
    objParent = m_objWebAccess.m_fldCurrent;
  }
  return true;
}

int CTarnyOutlookHandler::ImportAppointment(ItemRun& objRun) {
  try {
    ews::Appointment objItem(m_objWebAccess.m_pService);
    m_objLogManager.WriteLog(u" SaveCalenderItem in ");
    const int nFilled = SaveCalenderItem(objItem, objRun.strFilePath, &objRun.objInfo);
    m_objLogManager.WriteLog(u" SaveCalenderItem out ");
    return nFilled == kSuccess ? SaveAppointment(objRun, objItem) : kSuccess;
  } catch (...) {
    m_objLogManager.WriteLog(u"  _CALENDER catch last  ");
    objRun.strErr = u"_CALENDER catch";  // kept: whatever it was
    return kFailure;
  }
}

int CTarnyOutlookHandler::SaveAppointment(ItemRun& objRun, ews::Appointment& objItem) {
  if (!MakeReady(objItem, objRun)) return kFailure;
  const bool bListed = !objItem.RequiredAttendees().IsBlank() ||
                       !objItem.OptionalAttendees().IsBlank() || !objItem.Resources().IsBlank();
  if (ews::Settings().bSafe && !bListed) {
    SaveAttendees(ReplaceUnicodeCharacters(objRun.objInfo.strTo), objItem.RequiredAttendees());
  }
  try {
    m_objLogManager.WriteLog(u" TYPE_CALENDER Save( in ");
    SaveItem(objItem);
    m_objLogManager.WriteLog(u" Save( TYPE_CALENDER out ");
    EnterLedgerRow(objRun.strMessageKey);
    return kSuccess;
  } catch (const std::exception& objError) {
    if (IsFinal(objError)) return Fail(objRun, u"  catch(Exception^ ex) ", objError);
  }
  return SaveAppointmentAgain(objRun, objItem);
}

int CTarnyOutlookHandler::SaveAppointmentAgain(ItemRun& objRun, ews::Appointment& objItem) {
  try {
    m_objLogManager.WriteLog(u"catch  try TYPE_CALENDER Save( in ");
    SaveItem(objItem);
    m_objLogManager.WriteLog(u"catch  try TYPE_CALENDER Save( out ");
    EnterLedgerRow(objRun.strMessageKey);
  } catch (const std::exception& objError) {
    m_objLogManager.WriteLog(u"  catch(Exception^ ex) ");
    return Fail(objRun, (CString(u"Error : ") + MessageOf(objError)).GetString(), objError);
  }
  if (objRun.objInfo.strTo.IsEmpty() || ews::Settings().bSafe) return kSuccess;
  Guarded(u"  catch(Exception^ ex) ", [&] {
    SaveAttendees(objRun.objInfo.strTo, objItem.RequiredAttendees());
    objItem.Update(ews::ConflictResolutionMode::AlwaysOverwrite,
                   ews::SendInvitationsOrCancellationsMode::SendToNone);
  });
  return kSuccess;
}

int CTarnyOutlookHandler::ImportTask(ItemRun& objRun) {
  try {
    ews::Task objTask(m_objWebAccess.m_pService);
    m_objLogManager.WriteLog(u" SaveTaskItem in   ");
    const int nFilled = SaveTaskItem(objTask, objRun.strFilePath, &objRun.objInfo);
    m_objLogManager.WriteLog(u" SaveTaskItem out   ");
    return nFilled == kSuccess ? SaveTask(objRun, objTask) : kSuccess;
  } catch (const std::exception& objError) {
    m_objLogManager.WriteLog(u" catch OUT   ");
    objRun.strErr = u"_TASK catch";  // kept: the item's log alone has the words
    m_objLogManager.WriteLogFile4(objRun.strLogFilepath, MessageOf(objError));
    return kFailure;
  }
}

int CTarnyOutlookHandler::SaveTask(ItemRun& objRun, ews::Task& objTask) {
  if (!MakeReady(objTask, objRun)) return kFailure;
  try {
    m_objLogManager.WriteLog(u" task Save in   ");
    SaveItem(objTask);
    m_objLogManager.WriteLog(u" task Save out   ");
    EnterLedgerRow(objRun.strMessageKey);
    return kSuccess;
  } catch (const std::exception& objError) {
    if (IsFinal(objError)) return Fail(objRun, u" catch OUT   ", objError);
  }
  return SaveTaskElsewhere(objRun, objTask);
}

int CTarnyOutlookHandler::SaveTaskElsewhere(ItemRun& objRun, ews::Task& objTask) {
  const CWebAccessHandler::CurrentFolderKeeper objKeeper(m_objWebAccess);
  const auto FailWith = [&](const char16_t* pszLogText, const std::exception& objError) {
    return Fail(objRun, (CString(pszLogText) + MessageOf(objError)).GetString(), objError);
  };
  try {
    if (!GoToFolder(u"Task\\", kTaskFolderType, WellKnownFolderName::MsgFolderRoot)) {
      return kSuccess;
    }
  } catch (const std::exception& objError) {
    return FailWith(u" catch Exception^ ex task Save out  : ", objError);
  }
  try {
    m_objLogManager.WriteLog(u" catch task Save in   ");
    SaveItem(objTask);
    m_objLogManager.WriteLog(u" catch task Save out   ");
    EnterLedgerRow(objRun.strMessageKey);
    return kSuccess;
  } catch (const std::exception& objError) {
    return FailWith(u" catch Exception^ ex 2 task Save out  : ", objError);
  }
}

int CTarnyOutlookHandler::ImportContact(ItemRun& objRun) {
  ews::Contact objContact(m_objWebAccess.m_pService);
  try {
    m_objLogManager.WriteLog(u" TYPE_CONTACT IN   ");
    const int nFilled = SaveContactItem(objContact, objRun.strFilePath, &objRun.objInfo);
    m_objLogManager.WriteLog(u" TYPE_CONTACT OUT   ");
    if (nFilled != kSuccess) return kSuccess;
    if (!MakeReady(objContact, objRun)) return kFailure;
    m_objLogManager.WriteLog(u" TYPE_CONTACT Save IN   ");
    SaveItem(objContact);
    m_objLogManager.WriteLog(u" TYPE_CONTACT Save IN   ");  // kept: the same text again
    return kSuccess;
  } catch (const std::exception& objError) {
    if (IsFinal(objError)) return Fail(objRun, u" TYPE_CONTACT IN SAVE CATCH ", objError);
  }
  return SaveContactElsewhere(objRun, objContact);
}

int CTarnyOutlookHandler::SaveContactElsewhere(ItemRun& objRun, ews::Contact& objContact) {
  const CWebAccessHandler::CurrentFolderKeeper objKeeper(m_objWebAccess);
  try {
    const CString strFolder = ContactFallback(objRun.objInfo.strContactFolder);
    if (!GoToFolder(strFolder, kContactFolderType, WellKnownFolderName::Contacts)) return kSuccess;
    m_objLogManager.WriteLog(u"Catch TYPE_CONTACT IN SAVE  ");
    SaveItem(objContact);
    m_objLogManager.WriteLog(u"Catch TYPE_CONTACT SAVE OUT ");
    return kSuccess;
  } catch (const std::exception& objError) {
    return Fail(objRun, u" TYPE_CONTACT IN SAVE CATCH ", objError);
  }
}

int CTarnyOutlookHandler::ImportList(ItemRun& objRun) {
  try {
    ews::ContactGroup objGroup(m_objWebAccess.m_pService);
    if (SaveDistListItem(objGroup, &objRun.objInfo) != kSuccess) return kSuccess;
    if (!MakeReady(objGroup, objRun)) return kFailure;
    m_objLogManager.WriteLog(u" TYPE_CONTACT Save IN   ");
    SaveItem(objGroup);
    m_objLogManager.WriteLog(u" TYPE_CONTACT Save IN   ");
    return kSuccess;
  } catch (const ews::ServiceException& objError) {
    if (ews::Settings().bSafe) return Fail(objRun, u"The list could not be saved", objError);
    return kSuccess;
  } catch (const StoreError& objError) {
    return Fail(objRun, u"The list could not be saved", objError);
  } catch (...) {
    return kFailure;
  }
}
