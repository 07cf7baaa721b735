#pragma once

#include <csignal>

#include "platform/UniqueFd.h"

namespace platform {

// While it lives, the first SIGTERM or SIGINT makes Fd() readable and puts both back to their
// default, so that a second one ends the process whatever it does. SIGPIPE is ignored from then on.
// One at a time. Throws std::system_error.
class EndSignals {
 public:
  EndSignals();
  ~EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  int Fd() const { return m_objFd.Get(); }
  bool Take();  // true once for the signal that came

 private:
  UniqueFd m_objFd;
  struct sigaction m_objOldTerm {};
  struct sigaction m_objOldInt {};
};

}  // namespace platform
