#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

// Owns one file descriptor and closes it; -1 is none.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int nFd) : m_nFd(nFd) {}
  UniqueFd(UniqueFd&& other) noexcept : m_nFd(other.Release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) Reset(other.Release());
    return *this;
  }
  ~UniqueFd() { Reset(); }

  int Get() const { return m_nFd; }
  explicit operator bool() const { return m_nFd >= 0; }
  int Release() { return std::exchange(m_nFd, -1); }
  void Reset(int nFd = -1) {
    if (m_nFd >= 0) ::close(m_nFd);
    m_nFd = nFd;
  }

 private:
  int m_nFd = -1;
};

}  // namespace platform
