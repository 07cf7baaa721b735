#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/UniqueFd.h"

namespace platform {

struct ChildOptions {
  std::vector<std::string> arrArguments;    // [0] is the program's path
  std::vector<std::string> arrEnvironment;  // NAME=value, added to ours
  int nStdin = -1;                          // descriptors to become 0, 1, 2; -1 is /dev/null
  int nStdout = -1;
  int nStderr = -1;
  std::vector<int> arrInherit;  // further descriptors that stay open in it, under their numbers
  bool bNewSession = true;      // Ctrl-C does not reach it
};

// A process of ours. The destructor leaves it running.
class ChildProcess {
 public:
  static ChildProcess Start(const ChildOptions& objOptions);  // throws std::system_error
  pid_t Pid() const { return m_nPid; }
  // The exit status as waitpid gives it; nothing while it runs.
  std::optional<int> TryWait();
  int Wait();
  void Signal(int nSignal);

 private:
  explicit ChildProcess(pid_t nPid) : m_nPid(nPid) {}
  pid_t m_nPid = -1;
  std::optional<int> m_nStatus;
};

// "exit code 1" or "signal 9", for messages.
std::string DescribeExit(int nStatus);

}  // namespace platform
