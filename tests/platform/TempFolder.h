#pragma once

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/Paths.h"

// A fresh folder that goes with the object; the program folder of the process while it lives.
class TempFolder {
 public:
  TempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "platformXXXXXX").string();
    m_path = mkdtemp(pattern.data());
    platform::SetProgramFolder(m_path);
  }
  ~TempFolder() { std::filesystem::remove_all(m_path); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string Path(const std::string& below = "") const { return m_path + "/" + below; }
  CString Windows(const std::string& below = "") const {
    return platform::ToWindowsPath(Path(below));
  }
  void Write(const std::string& below, const std::string& bytes) const {
    std::filesystem::create_directories(std::filesystem::path(Path(below)).parent_path());
    std::ofstream(Path(below), std::ios::binary) << bytes;
  }
  std::string Read(const std::string& below) const {
    std::ifstream file(Path(below), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::string m_path;
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
