#include "client/LocalMailbox.h"

#include <unistd.h>

#include <chrono>
#include <mutex>
#include <system_error>
#include <thread>

#include <fmt/format.h>

#include "client/Console.h"
#include "client/RunFolder.h"

namespace client {
namespace {

constexpr std::string_view kGreeting = "mailboxd: listening on ";
// The mailboxd of an engine that has just ended needs a moment to let go of the folder.
constexpr auto kPatience = std::chrono::seconds(5);
constexpr auto kBetweenTries = std::chrono::milliseconds(100);

// The first line from the pipe, or what there was when it closed.
std::string ReadLine(int fd) {
  std::string line;
  char c = 0;
  for (;;) {
    const ssize_t got = read(fd, &c, 1);
    if (got < 0 && errno == EINTR) continue;
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
                           Console& console)
    : m_dataFolder(dataFolder) {
  const auto giveUp = std::chrono::steady_clock::now() + kPatience;
  std::string reason;
  while (!Start(program, console, reason)) {
    if (StopRequested()) throw RunError("stopped");
    if (std::chrono::steady_clock::now() > giveUp) {
      throw RunError(
          fmt::format("the local mailbox in {} cannot be served: {}", m_dataFolder, reason));
    }
    std::this_thread::sleep_for(kBetweenTries);
  }
}

bool LocalMailbox::Start(const std::string& program, Console& console, std::string& reason) {
  Pipe input = MakePipe();
  Pipe output = MakePipe();
  Pipe messages = MakePipe();
  platform::ChildOptions start;
  start.arrArguments = {program, "--data", m_dataFolder, "--https", "--until-stdin-closes"};
  start.nStdin = input.readEnd.Get();
  start.nStdout = output.writeEnd.Get();
  start.nStderr = messages.writeEnd.Get();
  try {
    m_process.emplace(platform::ChildProcess::Start(start));
  } catch (const std::system_error& error) {
    throw RunError(fmt::format("the local mailbox cannot be started: {}", error.what()));
  }
  input.readEnd.Reset();
  output.writeEnd.Reset();
  messages.writeEnd.Reset();
  m_stdin = std::move(input.writeEnd);

  auto words = std::make_shared<Words>();
  m_drain = std::make_unique<LineDrain>(std::move(messages.readEnd),
                                        [words, &console](const std::string& line) {
                                          const std::lock_guard lock(words->mutex);
                                          words->last = line;
                                          if (words->up) console.Say(line);
                                        });
  const std::string line = ReadLine(output.readEnd.Get());
  if (line.starts_with(kGreeting)) {
    m_url = line.substr(kGreeting.size());
    const std::lock_guard lock(words->mutex);
    words->up = true;
    return true;
  }
  m_stdin.Reset();
  const std::string end = platform::DescribeExit(m_process->Wait());
  m_drain.reset();  // everything it wrote has been read now
  reason = words->last.empty() ? "mailboxd ended: " + end : words->last;
  return false;
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
