#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "ews/CurlTransport.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/ScriptedServer.h"

// A mailbox service whose requests go over the network to one URL.
class WiredService {
 public:
  explicit WiredService(const std::string& url) : m_service(ServiceAt(CString::FromUtf8(url))) {}

  std::string Find() {
    return TextOf(
        [&] { m_found = Service().FindFolders(m_root, ews::FolderView(10)).Folders().size(); });
  }
  std::string Save() { return ::Save(m_service); }

  ews::ExchangeService& Service() { return *m_service; }
  const std::shared_ptr<ews::ExchangeService>& Shared() const { return m_service; }
  ews::CurlTransport& Transport() { return m_transport; }
  const ews::FolderId& Root() const { return m_root; }
  size_t Found() const { return m_found; }  // folders, by the last Find

 private:
  ews::CurlTransport m_transport;
  ews::ScopedTransport m_scope{m_transport};
  const std::shared_ptr<ews::ExchangeService> m_service;
  const ews::FolderId m_root = ews::WellKnownFolderName::MsgFolderRoot;
  size_t m_found = 0;
};

// The same with a scripted server on loopback at its other end.
class OverHttp : public testing::Test {
 protected:
  std::string Find() { return m_wire.Find(); }
  std::string Save() { return m_wire.Save(); }

  SettingsKeeper m_settings;
  test_support::ScriptedServer m_server;
  WiredService m_wire{m_server.Url("/EWS/Exchange.asmx")};
};
