#pragma once

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "platform/Paths.h"
#include "tests/support/TemporaryFolder.h"

// A fresh folder that goes with the object; the program folder of the process while it lives.
class TempFolder : public test_support::TemporaryFolder {
 public:
  TempFolder() { platform::SetProgramFolder(TemporaryFolder::Path()); }

  std::string Path(const std::string& below = "") const { return File(below); }
  CString Windows(const std::string& below = "") const {
    return platform::ToWindowsPath(Path(below));
  }
  std::string Read(const std::string& below) const { return test_support::ReadAll(Path(below)); }
};

inline constexpr uid_t kOrdinaryUser = 65534;

// Runs a step as an ordinary user in a process of its own; true if it returned true there.
template <typename Step>
bool AsOrdinaryUser(Step step) {
  const pid_t child = fork();
  if (child == 0) {
    if (setgid(kOrdinaryUser) != 0 || setuid(kOrdinaryUser) != 0) _exit(2);
    _exit(step() ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
