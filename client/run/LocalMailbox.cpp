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
    : m_dataFolder(dataFolder) {
  Pipe messages = MakePipe();
  const platform::UniqueFd output = Start(program, messages.writeEnd);
  messages.writeEnd.Reset();
  auto words = std::make_shared<Words>();
  m_drain = std::make_unique<LineDrain>(std::move(messages.readEnd),
                                        [words, say](const std::string& line) {
                                          const std::lock_guard lock(words->mutex);
                                          words->last = line;
                                          if (words->up) say(line);
                                        });
  const std::string line = ReadLine(output.Get());
  if (line.starts_with(kGreeting)) {
    m_url = line.substr(kGreeting.size());
    const std::lock_guard lock(words->mutex);
    words->up = true;
    return;
  }
  if (StopRequested()) m_process->Signal(SIGKILL);  // it may be waiting for another to end
  const std::string end = platform::DescribeExit(m_process->Wait());
  m_drain.reset();  // everything it wrote has been read now
  if (StopRequested()) throw RunError("stopped");
  const std::string reason = words->last.empty() ? "mailboxd ended: " + end : words->last;
  throw RunError(fmt::format("the local mailbox in {} cannot be served: {}", m_dataFolder, reason));
}

platform::UniqueFd LocalMailbox::Start(const std::string& program,
                                       const platform::UniqueFd& messages) {
  Pipe input = MakePipe();
  Pipe output = MakePipe();
  platform::ChildOptions start;
  start.arrArguments = {program, "--data", m_dataFolder, "--https", "--until-stdin-closes"};
  start.nStdin = input.readEnd.Get();
  start.nStdout = output.writeEnd.Get();
  start.nStderr = messages.Get();
  try {
    m_process.emplace(platform::ChildProcess::Start(start));
  } catch (const std::system_error& error) {
    throw RunError(fmt::format("the local mailbox cannot be started: {}", error.what()));
  }
  m_stdin = std::move(input.writeEnd);
  return std::move(output.readEnd);
}

LocalMailbox::~LocalMailbox() {
  m_stdin.Reset();
  if (m_process) m_process->Wait();
}

std::optional<std::string> LocalMailbox::Ended() {
  const std::optional<int> status = m_process->TryWait();
  if (!status) return std::nullopt;
  return platform::DescribeExit(*status);
}

}  // namespace client
