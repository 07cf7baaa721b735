#include "mailboxd/store/DataFolderLock.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace mailbox {
namespace {

using Clock = std::chrono::steady_clock;

// One that ends closes its connections first. The moment is for a holder that has not yet written
// who it is, and for a process that held its input and is still going.
constexpr auto kPatience = std::chrono::seconds(10);
constexpr auto kMoment = std::chrono::milliseconds(250);
constexpr auto kBetweenTries = std::chrono::milliseconds(10);

// The process that the file names, or 0.
pid_t HolderOf(const platform::UniqueFd& file) {
  std::array<char, 32> text{};
  const ssize_t got = ::pread(file.Get(), text.data(), text.size() - 1, 0);
  return got > 0 ? static_cast<pid_t>(std::strtol(text.data(), nullptr, 10)) : 0;
}

// True if the holder is known to end with its standard input, and that has no writer left.
bool IsEnding(const platform::UniqueFd& file) {
  const pid_t holder = HolderOf(file);
  if (holder <= 0) return false;
  const std::string input = "/proc/" + std::to_string(holder) + "/fd/0";
  const platform::UniqueFd pipe(::open(input.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!pipe) return errno == ENOENT;  // its descriptors are closed already
  pollfd state{pipe.Get(), POLLIN, 0};
  return ::poll(&state, 1, 0) == 1 && (state.revents & POLLHUP) != 0;
}

void WriteHolder(const platform::UniqueFd& file, DataFolderLock::Lifetime lifetime) {
  const bool ends = lifetime == DataFolderLock::Lifetime::kUntilStdinCloses;
  const std::string text = ends ? std::to_string(::getpid()) + "\n" : "";
  if (::ftruncate(file.Get(), 0) != 0) return;  // it only shortens a wait
  (void)!::pwrite(file.Get(), text.data(), text.size(), 0);
}

}  // namespace

DataFolderLock::DataFolderLock(const std::string& folder, Lifetime lifetime) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);  // which says more than what follows
  ::chmod(folder.c_str(), 0700);
  m_file.Reset(::open((folder + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!m_file) {
    const int reason = errno;
    throw std::runtime_error(folder + ": " + (error ? error.message() : std::strerror(reason)));
  }
  const auto begin = Clock::now();
  while (::flock(m_file.Get(), LOCK_EX | LOCK_NB) != 0) {
    const auto waited = Clock::now() - begin;
    if (waited > kPatience || (waited > kMoment && !IsEnding(m_file))) {
      throw std::runtime_error(folder + " is in use by another mailboxd");
    }
    std::this_thread::sleep_for(kBetweenTries);
  }
  WriteHolder(m_file, lifetime);
}

}  // namespace mailbox
