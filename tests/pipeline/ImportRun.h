#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "ews/CurlTransport.h"
#include "mailboxd/store/ItemFields.h"
#include "target/CTarnyOutlookHandler.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/pipeline/TempRunFolder.h"
#include "tests/support/TemporaryFolder.h"

// An engine's handler and the mailbox that it fills, over loopback.
class ImportRun {
 public:
  explicit ImportRun(bool safe = false, std::vector<std::string> faults = {})
      : m_server(mailbox_test::WithFaults(std::move(faults))) {
    ews::Settings().bSafe = safe;
    handler.m_objWebAccess.m_pService = ServiceAt(CString::FromUtf8(m_server->EwsUrl()));
    handler.m_objWebAccess.m_pService->SetCredentials(
        ews::WebCredentials(u"ann@example.com", u"x"));
    handler.SetFolderName(u"Work\\");
    handler.SetLoginId(u"ann@example.com");
  }

  // The result; error and trace are those of this item alone.
  int Import(ews::WellKnownFolderName target, const std::u16string& descriptor) {
    folder.BeginTrace(handler.m_objLogManager);
    folder.WriteWork("11comtextjj.t", descriptor);
    handler.m_objWebAccess.m_fldCurrent = target;
    CString text;
    const int result = handler.ImportItem(GetCurrPath(), text, u"run.txt");
    error = text.ToUtf8();
    return result;
  }
  std::string Trace() const { return folder.Trace(); }

  mailbox::Store& Store() { return m_server->Mailboxes(); }
  std::int64_t WellKnown(const char* name) {
    return *Store().FindWellKnown(Store().Mailbox("ann@example.com"), name);
  }
  // The folder of that name below another, or 0.
  std::int64_t Below(std::int64_t parent, const std::string& name) {
    for (const mailbox::FolderInfo& info : Store().ChildFolders(parent, false)) {
      if (info.name == name) return info.id;
    }
    return 0;
  }
  std::vector<mailbox::ItemInfo> Items(std::int64_t place) { return Store().Items(place, 0, 1000); }
  // The item that was stored last in a folder that has one.
  mailbox::ItemInfo Last(std::int64_t place) {
    return std::ranges::max(Items(place), {}, &mailbox::ItemInfo::id);
  }
  mailbox::ItemInfo Last(const char* name) { return Last(WellKnown(name)); }

  TempRunFolder folder;
  std::string error;

 private:
  SettingsKeeper m_settings;
  ews::CurlTransport m_transport;
  ews::ScopedTransport m_scope{m_transport};
  mailbox_test::RunningServer m_server;

 public:
  CTarnyOutlookHandler handler;
};
