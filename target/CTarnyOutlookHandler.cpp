#include "target/CTarnyOutlookHandler.h"

#include "platform/Paths.h"
#include "target/LedgerSchema.h"

CTarnyOutlookHandler::CTarnyOutlookHandler() : m_pSqlHandler(std::make_unique<SqlLIteHandler>()) {
  Guarded(nullptr, [&] {
    m_pSqlHandler = std::make_unique<SqlLIteHandler>(GetCurrLogPath() + u"SQLLiteNew.db");
    for (const char16_t* pszStatement : kLedgerSchema) m_pSqlHandler->ExecuteQuery(pszStatement);
  });
}

void CTarnyOutlookHandler::CloseSqlliteInstance() {
  Guarded(nullptr, [&] { m_pSqlHandler->Close(); });
}

void CTarnyOutlookHandler::ClearPrevisInstance() {
  // A store that cannot be saved is not released.
  if (!m_objRdoPstStore.IsEmpty() && Succeeds([&] { m_objRdoPstStore.Save(); })) {
    m_objRdoPstStore.Release();
  }
  m_objRdoStores.Release();
  m_objRdoProfiles.Release();
  Guarded(nullptr, [&] {
    if (m_objRdoSession.GetLoggedOn()) m_objRdoSession.Logoff();
  });
  m_objRdoSession.Release();
}

bool CTarnyOutlookHandler::LogonUserAndServer(CString strLoginId, CString strLoginPassword,
                                              CString strImpersonatedUserMail,
                                              CString strTargetType, CString& strErrorMsg,
                                              CString& strTenantId, CString& strClientId,
                                              CString& strClientSecret, int iConnectionType,
                                              CString& strLogFilePath) {
  m_objLogManager.WriteLog(u"LogonUserAndServer_Start");
  m_objLogManager.WriteLog(u"LogonUserAndServer_Start_1");
  (void)m_objWebAccess.LogonUserAndServer(strLoginId, strLoginPassword, strImpersonatedUserMail,
                                          strTargetType, strErrorMsg, strTenantId, strClientId,
                                          strClientSecret, &iConnectionType, strLogFilePath);
  m_objLogManager.WriteLog(u"LogonUserAndServer_After");
  return strErrorMsg.IsEmpty();  // kept: the text decides, not the result
}

bool CTarnyOutlookHandler::RefreshModernConnectionMethod(CString strTenantId, CString strClientId,
                                                         CString strClientSecret,
                                                         CString strImpersonatedUserMail,
                                                         CString strLogFilePath,
                                                         CString strTargetType) {
  return m_objWebAccess.RefreshModernConnectionMethod(strTenantId, strClientId, strClientSecret,
                                                      strImpersonatedUserMail, strLogFilePath,
                                                      strTargetType);
}

int CTarnyOutlookHandler::CheckArchiveMailboxLogin(const ews::FolderId& olF2) {
  return m_objWebAccess.CheckArchiveMailboxLogin(olF2);
}

int CTarnyOutlookHandler::CreateFolderInStore(CString strFolder, int nType,
                                              const ews::FolderId& olF2,
                                              bool bChangeViewOfCalender) {
  return m_objWebAccess.CreateFolderInStore(strFolder, nType, olF2, bChangeViewOfCalender);
}

int CTarnyOutlookHandler::CreateNewFolderInStore(CString strFolder, int nType,
                                                 const ews::FolderId& olF2,
                                                 bool bChangeViewOfCalender) {
  m_bNewFolderMode = true;
  return m_objWebAccess.CreateNewFolderInStore(strFolder, nType, olF2, bChangeViewOfCalender);
}

void CTarnyOutlookHandler::SetFolderStore(CString strFolder, CString strGroup) {
  m_objWebAccess.SetFolderStore(strFolder, strGroup);
}
