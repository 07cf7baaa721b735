#pragma once

#include <sys/resource.h>

#include <csignal>

namespace test_support {

// No file that this process writes grows beyond that many bytes while the object lives, as on a
// full disk.
class SmallFiles {
 public:
  explicit SmallFiles(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &m_before);
    const rlimit limit{bytes, m_before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~SmallFiles() {
    setrlimit(RLIMIT_FSIZE, &m_before);
    std::signal(SIGXFSZ, m_handler);
  }
  SmallFiles(const SmallFiles&) = delete;
  SmallFiles& operator=(const SmallFiles&) = delete;

 private:
  rlimit m_before{};
  void (*m_handler)(int);
};

}  // namespace test_support
