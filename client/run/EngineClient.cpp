#include "client/run/EngineClient.h"

#include <unistd.h>

namespace client {
namespace {

// The engine answers to this handle; any value that tells one driver from another serves.
std::uint64_t OwnHandle() { return static_cast<std::uint64_t>(getpid()); }

}  // namespace

EngineClient::EngineClient(const std::string& title, std::chrono::milliseconds timeout)
    : m_endpoint(title, timeout) {}

template <typename Info>
int EngineClient::Send(std::uint32_t command, const Info& info) {
  return m_endpoint.SendCommand(command, OwnHandle(), BuildRecord(info));
}

bool EngineClient::Logon(const ST_LOGIN_INFO& info) { return Send(MSG_LOGIN_OUTLOOK, info) == 1; }

int EngineClient::CreateFolder(const ST_FOLDER_INFO& info) { return Send(MSG_CREATE_FOLDER, info); }

int EngineClient::CreateNewFolder(const ST_FOLDER_INFO& info) {
  return Send(MSG_CREATE_NEW_FOLDER, info);
}

int EngineClient::InsertItem(const ST_ITEM_INFO& info) { return Send(MSG_INSERT_ITEM, info); }

int EngineClient::ShowImage(const CString& path) {
  std::vector<unsigned char> record(kImageRecordSize, 0);
  const size_t most = kImageRecordSize / 2 - 1;
  for (size_t i = 0; i < path.View().size() && i < most; ++i) {
    record[2 * i] = static_cast<unsigned char>(path.View()[i] & 0xFF);
    record[2 * i + 1] = static_cast<unsigned char>(path.View()[i] >> 8);
  }
  return m_endpoint.SendCommand(MSG_IMAGE_OUTLOOK, OwnHandle(), record);
}

bool EngineClient::CheckArchive() {
  return m_endpoint.SendCommand(MSG_CHECK_ARCHIVE, OwnHandle(), {}) == 1;
}

void EngineClient::ListGroups(const ST_GROUP_INFO& info) { Send(MSG_ENUM_GRP_LIST, info); }

void EngineClient::CloseLedger() { m_endpoint.SendCommand(MSG_CLOSE_LEDGER, OwnHandle(), {}); }

void EngineClient::Close() {
  m_endpoint.Close();
  m_endpoint.WaitForEnd();
}

}  // namespace client
