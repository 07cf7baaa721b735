#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/run/EngineClient.h"
#include "platform/ChildProcess.h"
#include "tests/support/EngineFolder.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

namespace system_test {

// What the descriptor of a mail says; texts are UTF-8.
struct MailFields {
  std::string type = "EMAIL";
  std::string importance = {};
  std::string date = {};
  std::string unread = "FALSE";
  std::string from = {}, to = {}, cc = {}, bcc = {}, subject = {}, key = {};
};

// An engine in a run folder of its own below a test's folder, driven as a driving program does it.
class EngineRun {
 public:
  // `options` stand in front of the marker, `wrapper` in front of the engine: a program and its
  // arguments that start it. Before the start, `prepare` gets the run folder's path.
  EngineRun(const std::string& folder, std::vector<std::string> options,
            const std::vector<std::string>& wrapper = {},
            const std::function<void(const std::string&)>& prepare = {});
  ~EngineRun();
  EngineRun(const EngineRun&) = delete;
  EngineRun& operator=(const EngineRun&) = delete;

  client::EngineClient& Client() { return *m_client; }
  pid_t Pid() const { return m_process->Pid(); }
  std::string File(const std::string& name) const { return m_folder.File(name); }
  std::string Errors() const { return m_folder.Errors(); }
  int Close();  // asks it to end; its exit code, -1 for a signal

  bool Logon(const std::string& target = "Mailbox", bool checksDuplicates = true);
  bool LogonByToken(const std::string& target = "Mailbox", const std::string& mailbox = kUser);
  int CreateFolder(std::string_view path, int type = 0);
  int CreateNewFolder(std::string_view path);

  void Work(const std::string& name, std::string_view bytes) const;
  void WorkWide(const std::string& name, std::string_view utf8) const;  // UTF-16LE
  // Empties the work folder and writes a descriptor.
  void NewMail(const MailFields& fields) const;
  int Insert(int flag = 0);
  // A whole message under a ledger key.
  int InsertEml(const std::string& key, std::string_view mime = kMail);

  // What was written since the last call. The trace comes as UTF-8, "\r\n" as a line's end.
  std::string Trace() const { return m_folder.Trace(); }
  std::string Status() const { return m_folder.Take("4LogFile.txt"); }
  std::string RunStatus() const { return m_folder.Take("run.txt"); }
  // The ledger's rows, "folder|id|target" each.
  std::vector<std::string> Ledger() const;

  static constexpr const char* kUser = "tom@example.org";
  static constexpr std::string_view kMail = "Subject: x\r\n\r\n";

 private:
  ST_LOGIN_INFO LoginRecord(const std::string& target) const;

  test_support::EngineFolder m_folder;
  std::optional<platform::ChildProcess> m_process;
  std::unique_ptr<client::EngineClient> m_client;
};

// An engine that sends into a mailbox of its own. The mailbox is started with the engine, unless it
// is there.
struct EngineSetting {
  // One that was started before goes with its run folder. Before the start, `prepare` gets the path
  // of the new one.
  EngineRun& Start(std::vector<std::string> options = {},
                   const std::function<void(const std::string&)>& prepare = {});
  // Logged on, with its target folder made, and logs that were read.
  EngineRun& StartIn(const std::string& path, std::vector<std::string> options = {},
                     const std::function<void(const std::string&)>& prepare = {});
  std::vector<StoredItem> Items() const { return ItemsOf(folder.File("mailbox")); }
  StoredItem OnlyItem() const;

  test_support::TemporaryFolder folder;
  std::optional<Mailbox> mailbox;
  std::optional<EngineRun> run;
};

extern const std::string kFolderStatus;  // lines of the status logs
extern const std::string kSuccessStatus;
extern const std::string kFailStatus;  // up to the message

}  // namespace system_test
