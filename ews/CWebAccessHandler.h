#pragma once

#include <memory>
#include <optional>

#include "ews/ExchangeService.h"
#include "ews/FolderId.h"
#include "platform/CLogManager.h"
#include "platform/CString.h"

// The id text that means "there is no such folder".
inline constexpr std::u16string_view kAbsentFolder = u"-NO-";

// The engine's one connection to the target mailbox, and the folders there. Its own log has no file
// name, so the lines it writes through its base go nowhere.
class CWebAccessHandler : public CLogManager {
  // A folder that is wanted and not there yet.
  struct MissingFolder {
    CString strFolder;
    int nType = 0;
    ews::FolderId olF2;
  };

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

  // Why the last refresh brought no token, for people; with kLogonRefused unless it may pass.
  const CString& RefreshError() const { return m_strRefreshError; }

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

  // With the safe switch, a folder that could not be made is tried again before an item goes into
  // it. Throws ServiceException with the server's words. Does nothing otherwise.
  void EnsureCurrentFolder() { Ensure(m_fldCurrent, m_objMissingCurrent); }
  void EnsureNewFolder() { Ensure(m_fldNewFolder, m_objMissingNew); }

  // Puts m_fldCurrent back at its end, with what is known of a folder that is not there yet.
  class CurrentFolderKeeper {
   public:
    explicit CurrentFolderKeeper(CWebAccessHandler& objHandler)
        : m_objHandler(objHandler),
          m_fldCurrent(objHandler.m_fldCurrent),
          m_objMissing(objHandler.m_objMissingCurrent) {}
    ~CurrentFolderKeeper() {
      m_objHandler.m_fldCurrent = std::move(m_fldCurrent);
      m_objHandler.m_objMissingCurrent = std::move(m_objMissing);
    }
    CurrentFolderKeeper(const CurrentFolderKeeper&) = delete;
    CurrentFolderKeeper& operator=(const CurrentFolderKeeper&) = delete;

   private:
    CWebAccessHandler& m_objHandler;
    ews::FolderId m_fldCurrent;
    std::optional<MissingFolder> m_objMissing;
  };

  ews::FolderId m_fldCurrent;    // where items go
  ews::FolderId m_fldNewFolder;  // where mail goes after MSG_CREATE_NEW_FOLDER
  CString m_strCalendarName;     // never assigned
  bool m_bChangeViewOfCalender = false;
  std::shared_ptr<ews::ExchangeService> m_pService;  // null before the first logon

 private:
  // The first folder of that name that the search brings, if any. Throws what the search does.
  std::optional<ews::Folder> Search(const ews::SearchFilter& objFilter, const CString& strName,
                                    const ews::FolderId& olF2);
  ews::Folder SaveFolder(const CString& strName, const ews::FolderId& olF2Temp, const CString& ver);
  // One level, found or made. Throws ServiceException.
  ews::Folder FindOrMake(const CString& strName, const ews::FolderId& olF2, const CString& ver);
  // As CreateFolder; with the safe switch nothing for mail whose way leads through a folder that
  // shows none.
  std::optional<ews::FolderId> FollowPath(const CString& foldername, ews::FolderId olF2, int nType);
  void Ensure(ews::FolderId& fldTarget, std::optional<MissingFolder>& objMissing);
  int CreateInto(ews::FolderId& fldTarget, std::optional<MissingFolder>& objMissing,
                 const MissingFolder& objWanted);

  CString m_strRefreshError;
  std::optional<MissingFolder> m_objMissingCurrent;  // set: m_fldCurrent is the absent folder
  std::optional<MissingFolder> m_objMissingNew;      // the same for m_fldNewFolder
};
