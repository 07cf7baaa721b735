#include "mailboxd/store/DataFolderLock.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <optional>
#include <thread>

#include "client/run/LineDrain.h"
#include "platform/ChildProcess.h"
#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;
using mailbox::DataFolderLock;

namespace {

// Another process in the role of the server that has the folder: its standard input is a pipe whose
// other end may be closed, and the file names it.
class Holder {
 public:
  explicit Holder(const std::string& folder)
      : m_lock(std::in_place, folder, DataFolderLock::Lifetime::kUntilStopped) {
    platform::ChildOptions options;
    options.arrArguments = {"/bin/sleep", "60"};
    options.nStdin = m_input.readEnd.Get();
    m_process.emplace(platform::ChildProcess::Start(options));
    m_input.readEnd.Reset();
    std::ofstream(folder + "/lock") << m_process->Pid() << "\n";
  }
  ~Holder() {
    m_process->Signal(SIGKILL);
    m_process->Wait();
  }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;
  void CloseInput() { m_input.writeEnd.Reset(); }
  void LetGo() { m_lock.reset(); }

 private:
  client::Pipe m_input = client::MakePipe();
  std::optional<DataFolderLock> m_lock;
  std::optional<platform::ChildProcess> m_process;
};

TEST(DataFolderLock, AFolderThatIsServedIsRefusedAndOneWhoseServerEndsIsWaitedFor) {
  const TempFolder folder;
  const auto take = [&] {
    DataFolderLock lock(folder.Path(), DataFolderLock::Lifetime::kUntilStdinCloses);
  };
  Holder holder(folder.Path());
  EXPECT_THROW(take(), std::runtime_error);
  holder.CloseInput();
  std::thread later([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(600));  // longer than any server is given
    holder.LetGo();
  });
  EXPECT_NO_THROW(take());
  later.join();
  EXPECT_NO_THROW(take());
}

}  // namespace
