#include <exception>
#include <optional>

#include "ews/Appointment.h"
#include "ews/Contact.h"
#include "ews/ContactGroup.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "ews/Task.h"
#include "pipeline/ItemRun.h"
#include "pipeline/SeriesSaving.h"
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
// may have been saved already is not sent again. What a local store does not take is told at once,
// with and without the switch: another folder of it would not take it, either.

// What the trace is told of a save, and whether the ledger hears of it.
struct SaveTexts {
  const char16_t* pszIn;
  const char16_t* pszOut;
  const char16_t* pszFailed;
  bool bLedgerRow = true;
};

// Where an item goes that its own folder refuses.
struct SecondPlace {
  int nType;  // of the folder
  ews::WellKnownFolderName eRoot;
  SaveTexts objSave;
  const char16_t* pszFolderFailed;
  bool bTellsWords;  // the trace gets the failure's words behind its text
};

namespace {

using ews::WellKnownFolderName;

constexpr SaveTexts kFirstAppointmentSave{u" TYPE_CALENDER Save( in ", u" Save( TYPE_CALENDER out ",
                                          u"  catch(Exception^ ex) "};
constexpr SaveTexts kFirstTaskSave{u" task Save in   ", u" task Save out   ", u" catch OUT   "};
constexpr SaveTexts kFirstContactSave{u" TYPE_CONTACT Save IN   ",
                                      u" TYPE_CONTACT Save IN   ",  // kept: the same text again
                                      u" TYPE_CONTACT IN SAVE CATCH ", /*bLedgerRow=*/false};
constexpr SecondPlace kTaskPlace{7,
                                 WellKnownFolderName::MsgFolderRoot,
                                 {u" catch task Save in   ", u" catch task Save out   ",
                                  u" catch Exception^ ex 2 task Save out  : "},
                                 u" catch Exception^ ex task Save out  : ",
                                 /*bTellsWords=*/true};
constexpr SecondPlace kContactPlace{
    14,
    WellKnownFolderName::Contacts,
    {u"Catch TYPE_CONTACT IN SAVE  ", u"Catch TYPE_CONTACT SAVE OUT ",
     u" TYPE_CONTACT IN SAVE CATCH ", /*bLedgerRow=*/false},
    u" TYPE_CONTACT IN SAVE CATCH ",
    /*bTellsWords=*/false};

// Whether a second save could bring the item twice, or put it elsewhere for an outage.
bool IsFinal(const ews::Item& objItem, const std::exception& objError) {
  const auto* pError = dynamic_cast<const ews::ServiceException*>(&objError);
  const bool bOpen = pError && (pError->Cause().bMayBeCarriedOut || pError->Cause().bOutage);
  return ews::Settings().bSafe && (bOpen || objItem.Id().IsSet());
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

// Saves an item into the folder that it is meant for. Nothing where a second try may follow.
template <typename Save>
std::optional<int> CTarnyOutlookHandler::SaveOnce(ItemRun& objRun, const ews::Item& objItem,
                                                  const SaveTexts& objTexts, Save fnSave) {
  try {
    m_objLogManager.WriteLog(objTexts.pszIn);
    fnSave();
    m_objLogManager.WriteLog(objTexts.pszOut);
    if (objTexts.bLedgerRow) EnterLedgerRow(objRun.strMessageKey);
    return kSuccess;
  } catch (const std::exception& objError) {
    if (!HasStore() && !IsFinal(objItem, objError)) return std::nullopt;
    return Fail(objRun, objTexts.pszFailed, objError);
  }
}

// Saves an item that its own folder refused into a folder of its kind. One that cannot be made
// counts as done without the safe switch.
int CTarnyOutlookHandler::SaveElsewhere(ItemRun& objRun, ews::Item& objItem,
                                        const SecondPlace& objPlace, const CString& strFolder) {
  const CWebAccessHandler::CurrentFolderKeeper objKeeper(m_objWebAccess);
  const auto FailWith = [&](const char16_t* pszText, const std::exception& objError) {
    const CString strText = objPlace.bTellsWords ? pszText + MessageOf(objError) : CString(pszText);
    return Fail(objRun, strText.GetString(), objError);
  };
  try {
    if (!GoToFolder(strFolder, objPlace.nType, objPlace.eRoot)) return kSuccess;
  } catch (const std::exception& objError) {
    return FailWith(objPlace.pszFolderFailed, objError);
  }
  try {
    m_objLogManager.WriteLog(objPlace.objSave.pszIn);
    SaveItem(objItem);
    m_objLogManager.WriteLog(objPlace.objSave.pszOut);
    if (objPlace.objSave.bLedgerRow) EnterLedgerRow(objRun.strMessageKey);
    return kSuccess;
  } catch (const std::exception& objError) {
    return FailWith(objPlace.objSave.pszFailed, objError);
  }
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
    m_objLogManager.WriteLogFile4(objRun.strLogFilepath, objRun.strErr);
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
  CString strRefused;
  const auto nSaved = SaveOnce(objRun, objItem, kFirstAppointmentSave,
                               [&] { strRefused = StoreAppointment(objItem); });
  if (!nSaved) return SaveAppointmentAgain(objRun, objItem);
  return *nSaved == kSuccess ? TellRefused(objRun, strRefused) : *nSaved;
}

CString CTarnyOutlookHandler::StoreAppointment(ews::Appointment& objItem) {
  if (HasStore()) return TextOfRefused(SaveToStore(objItem));
  return SaveWithOccurrences(objItem, m_objWebAccess.m_fldCurrent, m_objWebAccess.Service());
}

// The item is there; what is not of it must reach its user.
int CTarnyOutlookHandler::TellRefused(ItemRun& objRun, const CString& strRefused) {
  if (strRefused.IsEmpty()) return kSuccess;
  return Fail(objRun, u"Not all occurrences could be changed", ews::ServiceException(strRefused));
}

int CTarnyOutlookHandler::SaveAppointmentAgain(ItemRun& objRun, ews::Appointment& objItem) {
  CString strRefused;
  try {
    m_objLogManager.WriteLog(u"catch  try TYPE_CALENDER Save( in ");
    strRefused = StoreAppointment(objItem);
    m_objLogManager.WriteLog(u"catch  try TYPE_CALENDER Save( out ");
    EnterLedgerRow(objRun.strMessageKey);
  } catch (const std::exception& objError) {
    m_objLogManager.WriteLog(u"  catch(Exception^ ex) ");
    return Fail(objRun, (CString(u"Error : ") + MessageOf(objError)).GetString(), objError);
  }
  if (ews::Settings().bSafe) return TellRefused(objRun, strRefused);
  if (objRun.objInfo.strTo.IsEmpty()) return kSuccess;
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
  const auto nSaved = SaveOnce(objRun, objTask, kFirstTaskSave, [&] { SaveItem(objTask); });
  return nSaved ? *nSaved : SaveElsewhere(objRun, objTask, kTaskPlace, u"Task\\");
}

int CTarnyOutlookHandler::ImportContact(ItemRun& objRun) {
  ews::Contact objContact(m_objWebAccess.m_pService);
  const auto Elsewhere = [&] {
    return SaveElsewhere(objRun, objContact, kContactPlace,
                         ContactFallback(objRun.objInfo.strContactFolder));
  };
  try {
    m_objLogManager.WriteLog(u" TYPE_CONTACT IN   ");
    const int nFilled = SaveContactItem(objContact, objRun.strFilePath, &objRun.objInfo);
    m_objLogManager.WriteLog(u" TYPE_CONTACT OUT   ");
    if (nFilled != kSuccess) return kSuccess;
  } catch (const std::exception& objError) {
    return HasStore() ? Fail(objRun, kFirstContactSave.pszFailed, objError) : Elsewhere();
  }
  if (!MakeReady(objContact, objRun)) return kFailure;
  const auto nSaved =
      SaveOnce(objRun, objContact, kFirstContactSave, [&] { SaveItem(objContact); });
  return nSaved ? *nSaved : Elsewhere();
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
    if (!ews::Settings().bSafe && !HasStore()) return kSuccess;
    return Fail(objRun, u"The list could not be saved", objError);
  } catch (const StoreError& objError) {
    return Fail(objRun, u"The list could not be saved", objError);
  } catch (...) {
    return kFailure;
  }
}
