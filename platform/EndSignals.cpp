#include "platform/EndSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace platform {
namespace {

constexpr std::array<int, 3> kSignals{SIGTERM, SIGINT, SIGHUP};

std::atomic<int> g_nSignalFd{-1};
std::atomic<bool> g_bCame{false};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free,
              "a signal handler uses them");

bool IsIgnored(int nSignal) {
  struct sigaction objNow {};
  sigaction(nSignal, nullptr, &objNow);
  return objNow.sa_handler == SIG_IGN;
}

// The first signal asks for an end; it also puts all of them back to their default, so that a
// second one ends the process even in the middle of a command.
void OnEndSignal(int) {
  const int nSavedError = errno;
  struct sigaction objDefault {};
  objDefault.sa_handler = SIG_DFL;
  for (const int nSignal : kSignals) {
    if (!IsIgnored(nSignal)) sigaction(nSignal, &objDefault, nullptr);
  }
  g_bCame = true;
  const std::uint64_t nOne = 1;
  (void)!write(g_nSignalFd.load(), &nOne, sizeof nOne);
  errno = nSavedError;
}

}  // namespace

EndSignals::EndSignals() : m_objFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!m_objFd) throw std::system_error(errno, std::generic_category(), "eventfd");
  g_nSignalFd = m_objFd.Get();
  g_bCame = false;
  struct sigaction objAction {};
  objAction.sa_handler = OnEndSignal;
  objAction.sa_flags = SA_RESTART;
  for (const int nSignal : kSignals) sigaddset(&objAction.sa_mask, nSignal);
  for (size_t n = 0; n < kSignals.size(); ++n) {
    sigaction(kSignals[n], nullptr, &m_arrOld[n]);
    if (kSignals[n] == SIGHUP && IsIgnored(SIGHUP)) continue;
    sigaction(kSignals[n], &objAction, nullptr);
  }
  std::signal(SIGPIPE, SIG_IGN);
}

EndSignals::~EndSignals() {
  for (size_t n = 0; n < kSignals.size(); ++n) sigaction(kSignals[n], &m_arrOld[n], nullptr);
}

bool EndSignals::Came() { return g_bCame; }

bool EndSignals::Take() {
  std::uint64_t nCount = 0;
  return read(m_objFd.Get(), &nCount, sizeof nCount) == sizeof nCount;
}

}  // namespace platform
