#include <cmath>
#include <exception>
#include <optional>
#include <string>

#include "engine/CCTarnyOutlookEngneDlg.h"
#include "engine/ItemStatus.h"
#include "ews/Connection.h"
#include "ews/Settings.h"
#include "pipeline/ItemDescriptor.h"
#include "platform/Files.h"
#include "platform/Paths.h"

// What each command does, with the trace lines that support people know it by.
namespace {

constexpr double kSecondsADay = 86400.0;
constexpr double kRefreshSeconds = 45 * 60;

CString ConnDetailPath() { return GetCurrLogPath() + u"ConnDetail.txt"; }

// 45 minutes or more. A difference that is no number counts as such, too.
bool RefreshIsDue(double dDays) {
  const double dSeconds = std::round(dDays * kSecondsADay);
  return !(dSeconds < kRefreshSeconds);
}

// A store needs no token.
bool GoesByToken(std::int32_t nConnectionType) {
  return nConnectionType == kTokenRoute && ews::Settings().strStore.IsEmpty();
}

double DaysSince(const COleDateTime& dt) {
  return COleDateTime::GetCurrentTime().Value() - dt.Value();
}

}  // namespace

std::int32_t CCTarnyOutlookEngneDlg::OnLoginOutlook(Bytes objBytes) {
  Log(u" ------MSG_LOGIN_OUTLOOK::--------- \n");
  const CString strLogonLog = GetCurrLogPath() + u"3LogFile.txt";
  (void)platform::DeleteFileAt(strLogonLog);  // usually not there
  (void)platform::DeleteFileAt(ConnDetailPath());
  m_stLogin = ReadLoginRecord(objBytes);
  m_nConnectionType = m_stLogin.iConnType;
  m_strTenantId = m_stLogin.strTenantId;
  m_strClientId = m_stLogin.strClientId;
  m_strClientSecret = m_stLogin.strClientSecret;
  m_strImpersonatedUserMail = m_stLogin.strImpersonatedUserMail;
  m_strTargetType = m_stLogin.strTargetType;
  m_objHandler.SetAllowDuplicates(m_stLogin.bAllowDuplicates != 0);
  if (m_stLogin.bLogSwitch == 1) m_objHandler.m_objLogManager.SetFileName(strLogonLog);
  Log(u"MSG_LOGIN_OUTLOOK");
  return LogOnOutlook();
}

std::int32_t CCTarnyOutlookEngneDlg::LogOnOutlook() {
  CString strImpersonatedUserMail = m_stLogin.strImpersonatedUserMail;
  strImpersonatedUserMail.Trim();  // here only; later refreshes take it as it came
  CString strTenantId = m_stLogin.strTenantId;
  CString strClientId = m_stLogin.strClientId;
  CString strClientSecret = m_stLogin.strClientSecret;
  CString strLogFilePath = GetCurrLogPath();
  CString strErrorMsg;
  m_objHandler.SetLoginId(m_stLogin.strLoginId);
  Log(u"LogonUserAndServer_Dlg_0");
  const CString& strStore = ews::Settings().strStore;
  const bool bLoggedOn =
      strStore.IsEmpty()
          ? m_objHandler.LogonUserAndServer(m_stLogin.strLoginId, m_stLogin.strLoginPassword,
                                            strImpersonatedUserMail, m_stLogin.strTargetType,
                                            strErrorMsg, strTenantId, strClientId, strClientSecret,
                                            m_stLogin.iConnType, strLogFilePath)
          : m_objHandler.LogonToStore(strStore);
  Log(u"LogonUserAndServer_Dlg_1");
  if (bLoggedOn) {
    Log(u"LogonUserAndServer_Dlg_S");
    SendMessageToGui(MSG_LOGIN_SUCCESS);
    return CTarnyOutlookHandler::kSuccess;
  }
  Log(u"LogonUserAndServer_Dlg_F");
  SendMessageToGui(MSG_LOGIN_FAILURE);
  EndDialog();
  return CTarnyOutlookHandler::kFailure;
}

std::int32_t CCTarnyOutlookEngneDlg::OnCreateFolder(Bytes objBytes) {
  if (objBytes.size() != kFolderRecordSize) return CTarnyOutlookHandler::kFailure;
  Log(u" -------MSG_CREATE_FOLDER:--------- \n");
  m_nMailCount = 0;
  const ST_FOLDER_INFO objFolder = ReadFolderRecord(objBytes);
  Log(CString(u" MSG_CREATE_FOLDER:") + objFolder.strFolder);
  m_objHandler.SetFolderName(objFolder.strFolder);
  CString strTarget = m_stLogin.strTargetType;
  strTarget.Trim();
  if (GoesByToken(m_nConnectionType) && !RefreshByConnDetail(strTarget)) {
    return CTarnyOutlookHandler::kFailure;
  }
  const std::int32_t nResult = CreateFolderInTarget(objFolder, strTarget);
  // kept: also where nothing was made
  m_objHandler.m_objLogManager.WriteLogFile4(u"4LogFile.txt",
                                             u"Folder Creation in Office 365 done..");
  return nResult;
}

std::int32_t CCTarnyOutlookEngneDlg::CreateFolderInTarget(const ST_FOLDER_INFO& objFolder,
                                                          const CString& strTarget) {
  using ews::WellKnownFolderName;
  if (m_objHandler.HasStore()) {
    m_objHandler.GoToStoreFolder(objFolder.strFolder, objFolder.nType);
    return CTarnyOutlookHandler::kSuccess;
  }
  const bool bChangeView = m_stLogin.bChangeViewOfCalender != 0;
  const auto CreateBelow = [&](WellKnownFolderName eRoot) {
    return m_objHandler.CreateFolderInStore(objFolder.strFolder, objFolder.nType, eRoot,
                                            bChangeView);
  };
  if (strTarget == u"Mailbox") return CreateBelow(WellKnownFolderName::MsgFolderRoot);
  if (strTarget == u"Archive Mailbox") {
    return CreateBelow(WellKnownFolderName::ArchiveMsgFolderRoot);
  }
  if (strTarget == u"Public Folder") return CreateBelow(WellKnownFolderName::PublicFoldersRoot);
  if (strTarget == u"Group") {
    m_objHandler.SetFolderStore(objFolder.strFolder, m_stLogin.strImpersonatedUserMail);
    return CTarnyOutlookHandler::kSuccess;
  }
  return CTarnyOutlookHandler::kFailure;
}

bool CCTarnyOutlookEngneDlg::RefreshByConnDetail(const CString& strTarget) {
  if (!platform::PathExists(ConnDetailPath())) return true;
  CString strDate;
  m_objHandler.m_objLogManager.GetLogFileData(ConnDetailPath(), strDate);
  const COleDateTime dt = ConvertToDate(strDate);
  // A text that is no date leaves the connection as young as it can be.
  if (dt.GetStatus() != COleDateTime::valid || !RefreshIsDue(DaysSince(dt))) return true;
  return RefreshConnection(strTarget);
}

bool CCTarnyOutlookEngneDlg::RefreshByTimeStamp() {
  // kept: nothing ever writes this stamp, so each item gets a connection and a token of its own.
  if (!RefreshIsDue(DaysSince(m_objHandler.m_objLogManager.m_dtTime))) return true;
  return RefreshConnection(m_stLogin.strTargetType);
}

bool CCTarnyOutlookEngneDlg::RefreshConnection(const CString& strTarget) {
  (void)platform::DeleteFileAt(ConnDetailPath());  // usually not there
  return m_objHandler.RefreshModernConnectionMethod(m_strTenantId, m_strClientId, m_strClientSecret,
                                                    m_strImpersonatedUserMail, GetCurrLogPath(),
                                                    strTarget);
}

std::int32_t CCTarnyOutlookEngneDlg::OnCreateNewFolder(Bytes objBytes) {
  if (objBytes.size() != kFolderRecordSize) return CTarnyOutlookHandler::kFailure;
  Log(u" -------MSG_CREATE_NEW_FOLDER:--------- \n");
  if (m_objHandler.HasStore())
    return CTarnyOutlookHandler::kFailure;  // it has one folder at a time
  const ST_FOLDER_INFO objFolder = ReadFolderRecord(objBytes);
  return m_objHandler.CreateNewFolderInStore(objFolder.strFolder, objFolder.nType,
                                             ews::WellKnownFolderName::MsgFolderRoot,
                                             m_stLogin.bChangeViewOfCalender != 0);
}

std::int32_t CCTarnyOutlookEngneDlg::OnInsertItem(Bytes objBytes) {
  Log(CString::FromUtf8(std::to_string(m_nMailCount)) +
      u"\n\n  MailCount----------------- "
      u"---------MSG_INSERT_ITEM:---------------------------------");
  const ST_ITEM_INFO objItem = ReadItemRecord(objBytes);
  // Savers change the folder's path to upper case; as a root it is found all the same.
  std::optional<platform::PathRoot> objWorkFolder;
  if (!objItem.strFilePath.IsEmpty()) {
    objWorkFolder.emplace(platform::ResolvePath(objItem.strFilePath));
  }
  CString strErr;
  m_objHandler.SetIncludeSplChar(1);
  m_objHandler.SetFlag(objItem.nFlag);
  if (GoesByToken(m_nConnectionType) && !RefreshByTimeStamp()) {
    if (ews::Settings().bSafe) {  // no item fails without a word
      strErr = m_objHandler.m_objWebAccess.RefreshError();
      WriteStatus(objItem, FailureStatusLine(strErr));
    }
    return CTarnyOutlookHandler::kFailure;
  }
  int nResult = m_objHandler.ImportItem(objItem.strFilePath, strErr, objItem.strLogFilepath);
  const CString strStatus = ItemStatusLine(nResult, strErr, [&](CString& strRetryErr) {
    m_objHandler.SetFlag(1);  // stays until the next item sets its own
    return m_objHandler.ImportItem(objItem.strFilePath, strRetryErr, objItem.strLogFilepath);
  });
  if (ews::Settings().bSafe) {  // no other mail may take this one's page for its own
    (void)platform::DeleteFileAt(objItem.strFilePath + u"Imagech111.html");
  }
  WriteStatus(objItem, strStatus);
  ++m_nMailCount;
  try {
    m_objFolder.Save();
  } catch (const std::exception&) {
    Log(u" ------------------------------- Exception^ ex ------------------------------ \n");
    return CTarnyOutlookHandler::kFailure;
  }
  Log(u" ------------------------------- MSG_INSERT_ITEM:_OUT ------------------------------ \n");
  return nResult;
}

void CCTarnyOutlookEngneDlg::WriteStatus(const ST_ITEM_INFO& objItem, const CString& strStatus) {
  m_objHandler.m_objLogManager.WriteLogFile4(objItem.strLogFilepath, strStatus);
  m_objHandler.m_objLogManager.WriteLogFile4(u"4LogFile.txt", strStatus);
}

std::int32_t CCTarnyOutlookEngneDlg::OnImageOutlook(Bytes objBytes) {
  Log(u" ------MSG_IMAGE_OUTLOOK:--------- \n");
  return m_objHandler.ConvertImageToHTML(ReadImageRecord(objBytes)) ? 1 : 0;
}

std::int32_t CCTarnyOutlookEngneDlg::OnEnumGroupList(Bytes objBytes) {
  Log(u"Start------MSG_ENUM_GRP_LIST::--------- \n");
  ST_GROUP_INFO objGroup = ReadGroupRecord(objBytes);
  Log(u"Start------MSG_ENUM_GRP_LIST_1::--------- \n");
  CString strOutputFile = GetCurrLogPath() + u"GrpLst.txt";
  ConnectionDLL::Connection objConnection;
  if (objGroup.bUnifiedGroups == 0) {
    Log(u"Start------MSG_ENUM_GRP_LIST_Before::--------- \n");
    objConnection.GetOneDriveUsers(objGroup.strTenantId, objGroup.strClientId,
                                   objGroup.strClientSecret, strOutputFile);
    Log(u"Start------MSG_ENUM_GRP_LIST_After::--------- \n");
  } else {
    objConnection.GetUnifiedGroupList(objGroup.strTenantId, objGroup.strClientId,
                                      objGroup.strClientSecret, strOutputFile);
  }
  if (!objConnection.ListError().IsEmpty()) Log(objConnection.ListError());
  Log(u"End------MSG_ENUM_GRP_LIST::--------- \n");
  return 0;
}
