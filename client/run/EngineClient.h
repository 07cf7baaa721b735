#pragma once

#include <chrono>
#include <string>

#include "engine/Records.h"
#include "platform/EndpointClient.h"

namespace client {

// Drives one engine over its command endpoint: the commands by name, one at a time, each waiting
// for its result. Every command throws platform::EndpointError when the engine hangs up.
class EngineClient {
 public:
  // title is the engine's, in UTF-8: the marker and what follows it. Throws platform::EndpointError
  // when no engine answers in that time.
  EngineClient(const std::string& title, std::chrono::milliseconds timeout);

  // False: the logon failed and the engine is ending.
  bool Logon(const ST_LOGIN_INFO& info);
  // folder has each level ended by a backslash. 1 done, 0 failed or unknown target.
  int CreateFolder(const ST_FOLDER_INFO& info);
  // Selects a folder for all mail that follows, for the life of the engine.
  int CreateNewFolder(const ST_FOLDER_INFO& info);
  // 1 saved or known already, 0 not saved. The item's files stand in the work folder.
  int InsertItem(const ST_ITEM_INFO& info);
  int ShowImage(const CString& path);
  bool CheckArchive();
  void ListGroups(const ST_GROUP_INFO& info);
  void CloseLedger();

  // Asks the engine to end after its command, and waits until it has hung up.
  void Close();
  void WaitForEnd() { m_endpoint.WaitForEnd(); }

 private:
  template <typename Info>
  int Send(std::uint32_t command, const Info& info);

  platform::EndpointClient m_endpoint;
};

}  // namespace client
