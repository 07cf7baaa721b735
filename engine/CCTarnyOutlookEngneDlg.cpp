#include "engine/CCTarnyOutlookEngneDlg.h"

#include "platform/Paths.h"

std::uint64_t ghGuiHandle = 0;

void CCTarnyOutlookEngneDlg::DoModal(const CString& strTitle) {
  m_pServer = std::make_unique<platform::EndpointServer>(strTitle.ToUtf8());
  m_pServer->Run(*this);
  OnDestroy();
  m_pServer.reset();
}

std::int32_t CCTarnyOutlookEngneDlg::OnCopyData(std::uint32_t dwData, std::uint64_t hSender,
                                                Bytes objBytes) {
  ghGuiHandle = hSender;
  // At each command: the switch that a logon makes lasts until the next one.
  m_objHandler.m_objLogManager.SetFileName(GetCurrLogPath() + u"TarnyEngine.txt");
  const std::int32_t nResult = OnCommand(dwData, objBytes);
  m_objHandler.m_objLogManager.CloseFile();
  return nResult;
}

std::int32_t CCTarnyOutlookEngneDlg::OnCommand(std::uint32_t dwData, Bytes objBytes) {
  Log(u" -----OnCopyData-------- \n");
  switch (dwData) {
    case MSG_LOGIN_OUTLOOK:
      return OnLoginOutlook(objBytes);
    case MSG_CREATE_FOLDER:
      return OnCreateFolder(objBytes);
    case MSG_INSERT_ITEM:
      return OnInsertItem(objBytes);
    case MSG_IMAGE_OUTLOOK:
      return OnImageOutlook(objBytes);
    case MSG_CREATE_NEW_FOLDER:
      return OnCreateNewFolder(objBytes);
    case MSG_CHECK_ARCHIVE:
      return m_objHandler.CheckArchiveMailboxLogin(ews::WellKnownFolderName::ArchiveMsgFolderRoot);
    case MSG_CLOSE_LEDGER:
      m_objHandler.CloseSqlliteInstance();
      return 0;
    case MSG_ENUM_GRP_LIST:
      return OnEnumGroupList(objBytes);
    default:
      Log(u" -------default:--------- \n");
      return 0;
  }
}

void CCTarnyOutlookEngneDlg::OnClose() {
  m_objHandler.CloseSqlliteInstance();
  m_objHandler.ClearPrevisInstance();
  EndDialog();
}

void CCTarnyOutlookEngneDlg::OnDestroy() { m_objHandler.ClearPrevisInstance(); }

void CCTarnyOutlookEngneDlg::EndDialog() {
  if (m_pServer) m_pServer->Stop();
}

void CCTarnyOutlookEngneDlg::SendMessageToGui(std::uint32_t nMessage) {
  (void)SendMessageToGui(nMessage, nullptr, 0);  // a driving program that is gone answers nothing
}

std::int64_t CCTarnyOutlookEngneDlg::SendMessageToGui(std::uint32_t nMessage, const void* pData,
                                                      std::uint32_t nSize) {
  if (!m_pServer) return 0;
  return m_pServer->Notify(ghGuiHandle, nMessage,
                           {static_cast<const unsigned char*>(pData), nSize});
}
