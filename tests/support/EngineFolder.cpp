#include "tests/support/EngineFolder.h"

#include <fcntl.h>
#include <sys/wait.h>

#include <filesystem>

#include "platform/CString.h"
#include "platform/UniqueFd.h"
#include "tests/support/TemporaryFolder.h"

namespace test_support {

EngineFolder::EngineFolder(std::string path) : m_path(std::move(path)) {
  std::filesystem::create_directories(File("Temp"));
  std::filesystem::copy(TARNY_BIN "/TarnyOutlookEngine", File("engine"));
}

platform::ChildProcess EngineFolder::Start(const std::vector<std::string>& arguments,
                                           const std::vector<std::string>& wrapper) const {
  platform::ChildOptions start;
  start.arrArguments = wrapper;
  start.arrArguments.push_back(File("engine"));
  start.arrArguments.insert(start.arrArguments.end(), arguments.begin(), arguments.end());
  start.arrEnvironment = {"LC_ALL=C", "TZ=UTC"};
  const platform::UniqueFd errors(
      open((m_path + ".stderr").c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600));
  start.nStderr = errors.Get();
  return platform::ChildProcess::Start(start);
}

std::string EngineFolder::Errors() const { return ReadAll(m_path + ".stderr"); }

std::string EngineFolder::Take(const std::string& name) const {
  const std::string bytes = ReadAll(File(name));
  std::filesystem::remove(File(name));
  return bytes;
}

std::string EngineFolder::Trace(const std::string& name) const {
  return CString(WideText(Take(name))).ToUtf8();
}

int ExitCode(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

}  // namespace test_support
