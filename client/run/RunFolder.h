#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "client/run/RunMessages.h"
#include "platform/UniqueFd.h"

namespace client {

inline constexpr size_t kMaxRunPath = 600;  // bytes of the absolute path

// The run cannot start; what() says why, for people.
class RunError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Empty when a run folder may have that absolute path, else the reason why not.
std::string RunPathProblem(const std::string& absolutePath);

// The folder of one run: the engine's program, its work folder, ledger and logs, and the journal.
// While the object lives, two locks keep everybody else out. The second one is handed on to the
// engine, so that an engine which outlived its driver is noticed.
class RunFolder {
 public:
  // Makes the folder with mode 0700 when it is missing and takes the first lock. Throws RunError
  // when the path cannot serve or another tarny works there. From then on it is this process's
  // program folder, too: what the engine finds beside itself is found here.
  explicit RunFolder(const std::string& path);

  // Takes the second lock. An engine that still holds it is asked to end and waited for. Throws
  // RunError when that engine does not answer, or on a request to stop.
  void TakeOver(const Say& say);

  // Puts the engine's program into the folder, as a hard link or a copy, unless it is there and the
  // same. Throws RunError.
  void InstallEngine(const std::string& engineProgram);

  const std::string& Path() const { return m_path; }  // absolute, links resolved
  std::string File(const std::string& name) const { return m_path + "/" + name; }
  std::string WorkFolder() const { return m_path + "/Temp"; }
  std::string EngineProgram() const { return m_path + "/TarnyOutlookEngine"; }
  std::string Title() const;  // of the engine that works here
  int EngineLock() const { return m_engineLock.Get(); }

 private:
  std::string m_path;
  platform::UniqueFd m_driverLock;
  platform::UniqueFd m_engineLock;
};

// The folder of this program, absolute.
std::string OwnFolder();

}  // namespace client
