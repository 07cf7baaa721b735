#include "platform/EndSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace platform {
namespace {

std::atomic<int> g_nSignalFd{-1};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler reads it");

// The first signal asks for an end; it also puts both signals back to their default, so that a
// second one ends the process even in the middle of a command.
void OnEndSignal(int) {
  const int nSavedError = errno;
  struct sigaction objDefault {};
  objDefault.sa_handler = SIG_DFL;
  sigaction(SIGTERM, &objDefault, nullptr);
  sigaction(SIGINT, &objDefault, nullptr);
  const std::uint64_t nOne = 1;
  (void)!write(g_nSignalFd.load(), &nOne, sizeof nOne);
  errno = nSavedError;
}

}  // namespace

EndSignals::EndSignals() : m_objFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!m_objFd) throw std::system_error(errno, std::generic_category(), "eventfd");
  g_nSignalFd = m_objFd.Get();
  struct sigaction objAction {};
  objAction.sa_handler = OnEndSignal;
  objAction.sa_flags = SA_RESTART;
  sigaddset(&objAction.sa_mask, SIGTERM);
  sigaddset(&objAction.sa_mask, SIGINT);
  sigaction(SIGTERM, &objAction, &m_objOldTerm);
  sigaction(SIGINT, &objAction, &m_objOldInt);
  std::signal(SIGPIPE, SIG_IGN);
}

EndSignals::~EndSignals() {
  sigaction(SIGTERM, &m_objOldTerm, nullptr);
  sigaction(SIGINT, &m_objOldInt, nullptr);
}

bool EndSignals::Take() {
  std::uint64_t nCount = 0;
  return read(m_objFd.Get(), &nCount, sizeof nCount) == sizeof nCount;
}

}  // namespace platform
