#pragma once

#include <array>
#include <csignal>

#include "platform/UniqueFd.h"

namespace platform {

// While it lives, the first SIGTERM, SIGINT or SIGHUP makes Fd() readable and puts all of them back
// to their default, so that a second one ends the process whatever it does. A SIGHUP that was
// ignored before stays so: whoever started the process wants it to outlive its terminal. SIGPIPE is
// ignored from then on. One at a time. Throws std::system_error.
class EndSignals {
 public:
  EndSignals();
  ~EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  int Fd() const { return m_objFd.Get(); }
  bool Take();  // true once for the signal that came
  // True from the signal on, for those who wait within a command; taken or not.
  static bool Came();

 private:
  UniqueFd m_objFd;
  std::array<struct sigaction, 3> m_arrOld{};
};

}  // namespace platform
