#include "ews/CWebAccessHandler.h"
#include "ews/FolderNameTable.h"
#include "ews/FolderPath.h"
#include "ews/OwnFolders.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"

// The folder half of CWebAccessHandler: a path of the source's names becomes a folder of the
// target.
//
//   "($Inbox)\Projects\"   two levels: "Inbox", which exists, and "Projects", made below it
//   "($Inbox)\Projects"    one level: what no backslash closes does not count
//
// A folder that cannot be made becomes the absent folder, and so does all that lies below it; the
// next item's save tells of it. With the safe switch what fails is kept instead, tried again before
// the next item, and told with the server's words; and mail does not go where no program shows it:
//
//   "Kalender\Old\"        where the mailbox calls its calendar so, "Inbox\Kalender\Old\"

namespace {

// kept: one page of ten, whatever there is; a folder behind ten others that hold its name is not
// found.
constexpr int kPageSize = 10;

ews::FolderId AbsentFolder() { return ews::FolderId(CString(kAbsentFolder)); }

std::optional<ews::Folder> FirstOfName(const ews::FindFoldersResults& objFound, CString strName) {
  strName.MakeUpper();
  for (const ews::Folder& objFolder : objFound.Folders()) {
    CString strFound = objFolder.DisplayName();
    if (strFound.MakeUpper() == strName) return objFolder;
  }
  return std::nullopt;
}

// It exists though the search did not show it, or may have been made by a request without an
// answer.
bool MayBeThere(const ews::ServiceException& objError) {
  return dynamic_cast<const ews::ServiceResponseException*>(&objError) != nullptr ||
         objError.Cause().bMayBeCarriedOut;
}

ews::SearchFilterCollection NameContains(const CString& strName) {
  const ews::ContainsSubstring objContains(ews::FolderSchema::DisplayName, strName);
  ews::SearchFilterCollection objFilter(ews::LogicalOperator::Or);
  objFilter.Add(objContains);
  objFilter.Add(objContains);
  return objFilter;
}

std::unique_ptr<ews::Folder> NewFolder(const std::shared_ptr<ews::ExchangeService>& pService,
                                       const CString& strClass) {
  if (strClass == kClassAppointment) return std::make_unique<ews::CalendarFolder>(pService);
  if (strClass == kClassTask) return std::make_unique<ews::TasksFolder>(pService);
  if (strClass == kClassContact) return std::make_unique<ews::ContactsFolder>(pService);
  return std::make_unique<ews::Folder>(pService);
}

// At its root such a name means what the mailbox itself calls so. Elsewhere "Customer\Calendar\" is
// a folder of mail, which a mail program shows in no other class.
bool IsOfMailWhateverItsName(int nType) {
  return ews::Settings().bSafe && FolderClassByNameAndType({}, nType) == kClassNote;
}

}  // namespace

int CWebAccessHandler::getTotCountSlash(const CString& foldername) const {
  return ::getTotCountSlash(foldername);
}

CString CWebAccessHandler::GetNameBySlash(const CString& foldername, int i) const {
  return ::GetNameBySlash(foldername, i);
}

CString CWebAccessHandler::UpdateName(const CString& sItem) const { return ::UpdateName(sItem); }

CString CWebAccessHandler::GetFolderType(const CString& sItem) const {
  if (!m_strCalendarName.IsEmpty() && sItem == m_strCalendarName) return kClassAppointment;
  return CString(FolderClassByName(sItem));
}

CString CWebAccessHandler::GetFolderTypeGroupwise(const CString& strName, int nType,
                                                  bool /*bChangeViewOfCalender*/) const {
  return CString(FolderClassByNameAndType(strName, nType));
}

ews::FolderId CWebAccessHandler::CheckIfFolderExist(CString strName, const ews::FolderId& olF2) {
  strName = UpdateName(strName);
  try {
    const auto objFound = Search(NameContains(strName), strName, olF2);
    return objFound ? objFound->Id() : AbsentFolder();
  } catch (...) {  // any failure counts as "not there"
    return AbsentFolder();
  }
}

ews::FolderId CWebAccessHandler::MakeFolder(CString strName, const ews::FolderId& olF2Temp,
                                            const CString& ver) {
  try {
    return SaveFolder(UpdateName(strName), olF2Temp, ver).Id();
  } catch (...) {
    return AbsentFolder();
  }
}

ews::Folder CWebAccessHandler::SaveFolder(const CString& strName, const ews::FolderId& olF2Temp,
                                          const CString& ver) {
  const auto pFolder = NewFolder(m_pService, ver);
  pFolder->SetDisplayName(strName);
  pFolder->Save(olF2Temp);
  return *pFolder;
}

std::optional<ews::Folder> CWebAccessHandler::Search(const ews::SearchFilter& objFilter,
                                                     const CString& strName,
                                                     const ews::FolderId& olF2) {
  return FirstOfName(Service().FindFolders(olF2, objFilter, ews::FolderView(kPageSize)), strName);
}

// The search by substring sees one page, so that a folder can exist and not be found by it; the
// server then refuses to make it, and an exact search finds it. So it does where the folder was
// made by a request whose answer was lost.
ews::Folder CWebAccessHandler::FindOrMake(const CString& strName, const ews::FolderId& olF2,
                                          const CString& ver) {
  if (auto objFound = Search(NameContains(strName), strName, olF2)) return *objFound;
  try {
    return SaveFolder(strName, olF2, ver);
  } catch (const ews::ServiceException& e) {
    if (!MayBeThere(e)) throw;
    const ews::IsEqualTo objExact(ews::FolderSchema::DisplayName, strName);
    if (auto objFound = Search(objExact, strName, olF2)) return *objFound;
    throw;
  }
}

ews::FolderId CWebAccessHandler::CreateFolder(const CString& foldername, ews::FolderId olF2,
                                              int nType) {
  if (const auto objFolder = FollowPath(foldername, olF2, nType)) return *objFolder;
  const CString strElsewhere = CString(kMailElsewhere) + foldername;
  if (const auto objFolder = FollowPath(strElsewhere, olF2, nType)) return *objFolder;
  throw ews::ServiceException("What the mailbox calls so shows no mail, below its Inbox neither.");
}

std::optional<ews::FolderId> CWebAccessHandler::FollowPath(const CString& foldername,
                                                           ews::FolderId olF2, int nType) {
  const bool bOfMail = IsOfMailWhateverItsName(nType);
  const int nLevels = getTotCountSlash(foldername);
  for (int k = 0; k < nLevels; ++k) {
    const CString strName = GetNameBySlash(foldername, k);
    const bool bLast = k == nLevels - 1;
    CString strClass = bLast ? GetFolderTypeGroupwise(strName, nType, m_bChangeViewOfCalender)
                             : GetFolderType(strName);
    if (bOfMail) strClass = kClassNote;
    if (const auto objOwn = ews::FindOwnFolder(
            [this]() -> auto& { return Service(); }, UpdateName(strName).View(), olF2)) {
      olF2 = *objOwn;
      continue;
    }
    if (ews::Settings().bSafe) {
      const ews::Folder objLevel = FindOrMake(UpdateName(strName), olF2, strClass);
      if (bOfMail && ShowsNoMail(objLevel.Class())) return std::nullopt;
      olF2 = objLevel.Id();
      continue;
    }
    const ews::FolderId objFound = CheckIfFolderExist(strName, olF2);
    if (objFound.ToString() != kAbsentFolder) {
      olF2 = objFound;
      continue;
    }
    olF2 = MakeFolder(strName, olF2, strClass);
  }
  return olF2;
}

int CWebAccessHandler::CreateFolderInStore(const CString& strFolder, int nType,
                                           const ews::FolderId& olF2, bool bChangeViewOfCalender) {
  m_bChangeViewOfCalender = bChangeViewOfCalender;
  return CreateInto(m_fldCurrent, m_objMissingCurrent, {strFolder, nType, olF2});
}

int CWebAccessHandler::CreateNewFolderInStore(const CString& strFolder, int nType,
                                              const ews::FolderId& olF2,
                                              bool bChangeViewOfCalender) {
  m_bChangeViewOfCalender = bChangeViewOfCalender;
  return CreateInto(m_fldNewFolder, m_objMissingNew, {strFolder, nType, olF2});
}

int CWebAccessHandler::CreateInto(ews::FolderId& fldTarget,
                                  std::optional<MissingFolder>& objMissing,
                                  const MissingFolder& objWanted) {
  objMissing.reset();
  try {
    fldTarget = CreateFolder(objWanted.strFolder, objWanted.olF2, objWanted.nType);
    return 1;
  } catch (...) {
    if (!ews::Settings().bSafe) return 0;
    fldTarget = AbsentFolder();
    objMissing = objWanted;
    return 1;  // the items tell why
  }
}

void CWebAccessHandler::Ensure(ews::FolderId& fldTarget, std::optional<MissingFolder>& objMissing) {
  if (!objMissing) return;
  try {
    fldTarget = CreateFolder(objMissing->strFolder, objMissing->olF2, objMissing->nType);
  } catch (const std::exception& e) {
    // What may have been made is the folder, and the text is for an item.
    throw ews::ServiceException("The folder could not be made: " +
                                ews::WithoutOpenOutcome(e.what()));
  }
  objMissing.reset();
}

void CWebAccessHandler::SetFolderStore(const CString& strFolder, const CString& strGroup) {
  auto eName = ews::WellKnownFolderName::Inbox;
  if (strFolder == u"Calendar\\") eName = ews::WellKnownFolderName::Calendar;
  if (strFolder == u"Contacts\\") eName = ews::WellKnownFolderName::Contacts;
  m_fldCurrent = ews::FolderId(eName, ews::Mailbox(strGroup));
  m_objMissingCurrent.reset();
}
