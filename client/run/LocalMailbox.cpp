#include "client/run/LocalMailbox.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <mutex>
#include <system_error>

#include <fmt/format.h>

#include "client/run/RunFolder.h"
#include "client/run/StopRequest.h"

namespace client {
namespace {

constexpr int kMostRestarts = 10;
constexpr std::string_view kGreeting = "mailboxd: listening on ";

// The first line from the pipe, or what there was when it closed or a stop was asked for.
std::string ReadLine(int fd) {
  std::string line;
  char c = 0;
  for (;;) {
    const ssize_t got = read(fd, &c, 1);
    if (got < 0 && errno == EINTR && !StopRequested()) continue;
    if (got <= 0 || c == '\n') return line;
    line += c;
  }
}

// Its messages: shown once it is up, kept as the reason while it is not.
struct Words {
  std::mutex mutex;
  std::string last;
  bool up = false;
};

}  // namespace

LocalMailbox::LocalMailbox(const std::string& program, const std::string& dataFolder,
                           const Say& say)
    : m_program(program), m_dataFolder(dataFolder) {
  Pipe messages = MakePipe();
  Pipe input = MakePipe();
  m_messages = std::move(messages.writeEnd);
  m_stdin = std::move(input.readEnd);
  m_lifeLine = std::move(input.writeEnd);
  auto words = std::make_shared<Words>();
  m_drain = std::make_unique<LineDrain>(std::move(messages.readEnd),
                                        [words, say](const std::string& line) {
                                          const std::lock_guard lock(words->mutex);
                                          words->last = line;
                                          if (words->up) say(line);
                                        });
  const std::string line = Start({});
  if (line.starts_with(kGreeting)) {
    m_url = line.substr(kGreeting.size());
    const std::lock_guard lock(words->mutex);
    words->up = true;
    m_watch = std::thread([this, say] { Watch(say); });
    return;
  }
  if (StopRequested()) m_process->Signal(SIGKILL);  // it may be waiting for another to end
  const std::string end = platform::DescribeExit(m_process->Wait());
  m_drain.reset();  // everything it wrote has been read now
  if (StopRequested()) throw RunError("stopped");
  const std::string reason = words->last.empty() ? "mailboxd ended: " + end : words->last;
  throw RunError(fmt::format("the local mailbox in {} cannot be served: {}", m_dataFolder, reason));
}

std::string LocalMailbox::Start(std::vector<std::string> more) {
  Pipe output = MakePipe();
  platform::ChildOptions start;
  start.arrArguments = {m_program, "--data", m_dataFolder, "--https", "--until-stdin-closes"};
  start.arrArguments.insert(start.arrArguments.end(), more.begin(), more.end());
  start.nStdin = m_stdin.Get();
  start.nStdout = output.writeEnd.Get();
  start.nStderr = m_messages.Get();
  try {
    m_process.emplace(platform::ChildProcess::Start(start));
  } catch (const std::system_error& error) {
    throw RunError(fmt::format("the local mailbox cannot be started: {}", error.what()));
  }
  output.writeEnd.Reset();
  return ReadLine(output.readEnd.Get());
}

void LocalMailbox::Watch(const Say& say) {
  const std::string port = m_url.substr(m_url.rfind(':') + 1);
  for (int starts = 0;; ++starts) {
    std::string end = platform::DescribeExit(m_process->Wait());
    {
      const std::lock_guard lock(m_mutex);
      if (m_ending) return;
      if (starts == kMostRestarts) {
        m_end = std::move(end);
        return;
      }
    }
    say(fmt::format("The local mailbox ended ({}); it is started again.", end));
    try {
      (void)Start({"--port", port});  // one that does not come up ends, which is seen next
    } catch (const std::exception& error) {
      const std::lock_guard lock(m_mutex);
      m_end = error.what();
      return;
    }
  }
}

LocalMailbox::~LocalMailbox() {
  {
    const std::lock_guard lock(m_mutex);
    m_ending = true;
  }
  m_lifeLine.Reset();
  if (m_watch.joinable()) {
    m_watch.join();
  } else if (m_process) {
    m_process->Wait();
  }
}

std::optional<std::string> LocalMailbox::Ended() const {
  const std::lock_guard lock(m_mutex);
  return m_end;
}

}  // namespace client
