#pragma once

#include <sys/types.h>

#include <csignal>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "mailboxd/store/Store.h"
#include "platform/ChildProcess.h"
#include "platform/UniqueFd.h"
#include "tests/support/TemporaryFolder.h"

// The real programs as processes, in fresh folders.
namespace system_test {

struct Result {
  int status = 0;  // exit code, or 128 and the signal
  std::string out;
  std::string err;
};

// A program that was started and whose output goes to files.
class Program {
 public:
  Program(const std::string& name, std::vector<std::string> arguments, const std::string& folder);
  pid_t Pid() const { return m_process->Pid(); }
  std::optional<int> TryWait() { return m_process->TryWait(); }
  void Signal(int signal) { m_process->Signal(signal); }
  Result Wait();
  std::string Out() const;
  std::string Err() const;

 private:
  std::string m_out;
  std::string m_err;
  std::optional<platform::ChildProcess> m_process;
};

// Of a program that failed and gave that reason.
inline auto FailsWith(const std::string& reason) {
  return testing::AllOf(testing::Field("status", &Result::status, 1),
                        testing::Field("err", &Result::err, testing::HasSubstr(reason)));
}

// Runs one of our programs to its end. folder takes its output while it runs.
Result RunProgram(const std::string& name, std::vector<std::string> arguments,
                  const std::string& folder);

// A mailboxd on a data folder, which is ended with the object.
class Mailbox {
 public:
  Mailbox(const std::string& folder, std::vector<std::string> options);
  ~Mailbox();
  Mailbox(const Mailbox&) = delete;
  Mailbox& operator=(const Mailbox&) = delete;

  const std::string& Url() const { return m_url; }
  std::string Port() const { return m_url.substr(m_url.rfind(':') + 1); }
  void Kill();                                   // SIGKILL, and waits
  void Freeze() { m_process->Signal(SIGSTOP); }  // it takes connections and says nothing
  void Thaw() { m_process->Signal(SIGCONT); }

 private:
  std::string m_url;
  platform::UniqueFd m_stdin;
  std::optional<platform::ChildProcess> m_process;
};

// Pids by the command line, with a NUL between its arguments.
std::vector<pid_t> ProcessesWhere(const std::function<bool(std::string_view)>& is);
// Pids of engines whose title ends in that path.
std::vector<pid_t> EnginesOf(const std::string& runFolder);

// One item of a mailbox with all that is stored of it.
struct StoredItem {
  std::string mailbox;
  std::string folder;
  mailbox::ItemInfo info;
  std::string mime;
  std::vector<std::pair<std::string, std::string>> attachments;  // name and bytes
  std::vector<mailbox::AttachmentInfo> attachmentInfos;          // in the same order
  std::string Property(const std::string& key) const;            // its value, "" for none
};

std::vector<StoredItem> ItemsOf(const std::string& dataFolder);

// What a local mailbox holds: folder path and bytes of each mail, with how often it is there.
using Contents = std::map<std::pair<std::string, std::string>, int>;
Contents ContentsOf(const std::string& dataFolder);

// Mails of many sizes in nested folders, below `source` in the folder, each with content of its
// own. Some have no Message-ID and some share one, so that every form of key occurs.
struct Generated {
  Contents expected;
  int count = 0;
};
Generated WriteMails(const test_support::TemporaryFolder& folder, int count);

// tarny migrate from `source` into `mailbox` by way of `run`, all in that folder, with its summary
// as JSON.
std::vector<std::string> MigrateArguments(const test_support::TemporaryFolder& folder,
                                          const std::vector<std::string>& more = {});
Result Migrate(const test_support::TemporaryFolder& folder,
               const std::vector<std::string>& more = {});
// The same into a server that is open on that port of this machine, by plain HTTP.
std::vector<std::string> ServerArguments(const test_support::TemporaryFolder& folder, int port,
                                         const std::vector<std::string>& more = {});
// What such a run came to, which is to have ended with that status.
nlohmann::json SummaryOf(const Result& result, int status = 0);
// How many rows the ledger of that run holds; 0 while there is none.
int LedgerRows(const test_support::TemporaryFolder& folder);

}  // namespace system_test
