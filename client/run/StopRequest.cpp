#include "client/run/StopRequest.h"

#include <unistd.h>
#include <csignal>

#include <string_view>

namespace client {
namespace {

volatile std::sig_atomic_t g_stop = 0;

extern "C" void OnStopSignal(int) {
  if (g_stop) _exit(1);
  g_stop = 1;
  constexpr std::string_view kText = "\ntarny: stopping after this item; once more ends at once\n";
  (void)!write(STDERR_FILENO, kText.data(), kText.size());  // the item may wait for its server
}

}  // namespace

bool StopRequested() { return g_stop != 0; }

void InstallStopHandler() {
  struct sigaction action {};
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace client
