#include "client/run/StopRequest.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <string_view>

namespace client {
namespace {

volatile std::sig_atomic_t g_stop = 0;
std::atomic<pid_t> g_engine = 0;
std::atomic<pid_t> g_passTo = 0;  // 0, too, once it was told: a second signal ends it at once
static_assert(std::atomic<pid_t>::is_always_lock_free);  // the handler reads it

void Pass() {
  if (const pid_t pid = g_passTo.exchange(0)) kill(pid, SIGTERM);
}

// The item in work has an open outcome then, as behind any death.
[[noreturn]] void EndAtOnce() {
  if (const pid_t pid = g_engine) kill(pid, SIGKILL);
  _exit(1);
}

extern "C" void OnStopSignal(int signal) {
  if (g_stop && signal == SIGHUP) return;  // a terminal that closes may say so more than once
  if (g_stop) EndAtOnce();
  g_stop = 1;
  Pass();
  constexpr std::string_view kText = "\ntarny: stopping after this item; once more ends at once\n";
  (void)!write(STDERR_FILENO, kText.data(), kText.size());  // the item may wait for its server
}

}  // namespace

bool StopRequested() { return g_stop != 0; }

void PassStopTo(pid_t pid, StopPassing passing) {
  g_engine = pid;
  g_passTo = passing == StopPassing::kFirst ? pid : 0;
  if (StopRequested()) Pass();
}

void InstallStopHandler() {
  struct sigaction action {};
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  struct sigaction inherited {};
  sigaction(SIGHUP, nullptr, &inherited);
  // Whoever starts us with nohup wants the run to outlive the terminal.
  if (inherited.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace client
