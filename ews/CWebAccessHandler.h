#pragma once

#include <memory>

#include "ews/ExchangeService.h"
#include "ews/FolderId.h"
#include "platform/CLogManager.h"
#include "platform/CString.h"

// The id text that means "there is no such folder".
inline constexpr std::u16string_view kAbsentFolder = u"-NO-";

// The engine's one connection to the target mailbox, and the folders there. Its own log has no file
// name, so the lines it writes through its base go nowhere.
class CWebAccessHandler : public CLogManager {
 public:
  // ---- Connection (CWebAccessHandler.cpp) ----

  // *iConnType 1 is the token route, anything else the password route, in which the login id is the
  // address to discover. False on failure: with the reason in strErrorMsg in the password route, in
  // the token route without one. Does not throw.
  bool LogonUserAndServer(CString strLoginId, CString strLoginPassword,
                          CString strImpersonatedUserMail, CString strTargetType,
                          CString& strErrorMsg, CString& strTenantId, CString& strClientId,
                          CString& strClientSecret, const int* iConnType, CString& strLogFilePath);

  // A new token and a new service in m_pService; the old service stays when there is no token. True
  // when the service stands. Does not throw.
  bool RefreshModernConnectionMethod(CString strTenantId, CString strClientId,
                                     CString strClientSecret, CString strImpersonatedUserMail,
                                     CString strLogFilePath, CString strTargetType);

  // 1 if a search below the folder comes back, else 0; does not throw.
  int CheckArchiveMailboxLogin(const ews::FolderId& olF2);

  // The service, or ServiceException before the first logon.
  ews::ExchangeService& Service() const;

  // ---- Folders (WebFolders.cpp). Paths are levels, each ended by a backslash. ----

  int getTotCountSlash(const CString& foldername) const;
  CString GetNameBySlash(const CString& foldername, int i) const;  // "" if there is no such level
  CString UpdateName(const CString& sItem) const;
  CString GetFolderType(const CString& sItem) const;
  CString GetFolderTypeGroupwise(const CString& strName, int nType,
                                 bool bChangeViewOfCalender) const;
  // Both return the absent folder (kAbsentFolder) on failure and do not throw.
  ews::FolderId CheckIfFolderExist(CString strName, const ews::FolderId& olF2);
  ews::FolderId MakeFolder(CString strName, const ews::FolderId& olF2Temp, const CString& ver);
  // The id of the last level, made where it is missing; the absent folder if one could not be made.
  ews::FolderId CreateFolder(const CString& foldername, ews::FolderId olF2, int nType);
  // Both return 1, also with an absent folder; 0 on an exception, which they do not pass on.
  int CreateFolderInStore(const CString& strFolder, int nType, const ews::FolderId& olF2,
                          bool bChangeViewOfCalender);
  int CreateNewFolderInStore(const CString& strFolder, int nType, const ews::FolderId& olF2,
                             bool bChangeViewOfCalender);
  // One of three folders of a group's mailbox, without a request.
  void SetFolderStore(const CString& strFolder, const CString& strGroup);

  ews::FolderId m_fldCurrent;    // where items go
  ews::FolderId m_fldNewFolder;  // where mail goes after MSG_CREATE_NEW_FOLDER
  CString m_strCalendarName;     // never assigned
  bool m_bChangeViewOfCalender = false;
  std::shared_ptr<ews::ExchangeService> m_pService;  // null before the first logon

 private:
  ews::FolderId FindByEquality(const CString& strName, const ews::FolderId& olF2);
  // The first folder of that name that the search brings; the absent folder if there is none.
  ews::FolderId FindByName(const ews::SearchFilter& objFilter, const CString& strName,
                           const ews::FolderId& olF2);
  int CreateInto(ews::FolderId& fldTarget, const CString& strFolder, int nType,
                 const ews::FolderId& olF2);
};
