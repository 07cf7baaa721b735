#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "engine/Records.h"
#include "platform/CList.h"
#include "platform/CString.h"
#include "platform/EndpointServer.h"
#include "target/CTarnyOutlookHandler.h"
#include "target/RdoWrappers.h"

// The sender of the command in work, renewed by each command. 0 before the first one.
extern std::uint64_t ghGuiHandle;

// The engine's one address: every command arrives here, one at a time, and is answered with an
// integer. docs/protocol.md tells what the commands mean to who sends them.
class CCTarnyOutlookEngneDlg : public platform::EndpointServer::Handler {  // sic
 public:
  // Opens the ledger; see CTarnyOutlookHandler.
  CCTarnyOutlookEngneDlg() = default;

  // Serves the endpoint of the title until the dialog ends. Throws std::system_error (EADDRINUSE:
  // an engine of this title runs) and whatever a command lets pass, which is to end the process.
  void DoModal(const CString& strTitle);
  // A line in the trace.
  void Log(const CString& strText) { m_objHandler.m_objLogManager.WriteLog(strText); }
  // As the handler's, for dialogs.
  int GetAllProfilesPath(CString strProfileName, CStringArray& strArrStore,
                         CStringArray& strArrFilePath) {
    return m_objHandler.GetAllProfilesPath(strProfileName, strArrStore, strArrFilePath);
  }

  // ---- Endpoint ----

  std::int32_t OnCopyData(std::uint32_t dwData, std::uint64_t hSender,
                          std::span<const unsigned char> objBytes) override;
  void OnClose() override;

 private:
  using Bytes = std::span<const unsigned char>;

  // ---- Commands (EngineCommands.cpp) ----

  std::int32_t OnCommand(std::uint32_t dwData, Bytes objBytes);
  std::int32_t OnLoginOutlook(Bytes objBytes);
  // Logs on with m_stLogin and tells the driving program; a failure ends the dialog.
  std::int32_t LogOnOutlook();
  std::int32_t OnCreateFolder(Bytes objBytes);
  std::int32_t OnCreateNewFolder(Bytes objBytes);
  std::int32_t OnInsertItem(Bytes objBytes);
  // The item's line in the run's status log and in the one of all runs.
  void WriteStatus(const ST_ITEM_INFO& objItem, const CString& strStatus);
  std::int32_t OnImageOutlook(Bytes objBytes);
  std::int32_t OnEnumGroupList(Bytes objBytes);

  std::int32_t CreateFolderInTarget(const ST_FOLDER_INFO& objFolder, const CString& strTarget);
  // False only when a refresh was due and failed.
  bool RefreshByConnDetail(const CString& strTarget);
  bool RefreshByTimeStamp();
  bool RefreshConnection(const CString& strTarget);

  // ---- Messages to the driving program ----

  void SendMessageToGui(std::uint32_t nMessage);
  std::int64_t SendMessageToGui(std::uint32_t nMessage, const void* pData, std::uint32_t nSize);

  void OnDestroy();
  void EndDialog();

  ST_LOGIN_INFO m_stLogin;
  CTarnyOutlookHandler m_objHandler;
  IRDOFolder m_objFolder;         // never attached
  IRDOItems m_objItems;           // never attached
  std::int32_t m_nMailCount = 0;  // items since the last MSG_CREATE_FOLDER, for the log
  CList<CString> m_listNames;     // never used
  std::uint8_t m_nConnectionType = kTokenRoute;
  CString m_strTenantId;
  CString m_strClientId;
  CString m_strClientSecret;
  CString m_strImpersonatedUserMail;
  CString m_strTargetType;
  std::unique_ptr<platform::EndpointServer> m_pServer;  // while the dialog runs
};
