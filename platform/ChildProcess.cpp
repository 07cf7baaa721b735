#include "platform/ChildProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

extern "C" char** environ;  // NOLINT: the system's own name

namespace platform {
namespace {

[[noreturn]] void ThrowErrno(int nError, const std::string& strWhat) {
  throw std::system_error(nError, std::generic_category(), strWhat);
}

// A descriptor above the three standard ones, whatever is open in this process.
UniqueFd AboveStandard(UniqueFd objFd, const char* pszWhat) {
  if (!objFd) ThrowErrno(errno, pszWhat);
  if (objFd.Get() > STDERR_FILENO) return objFd;
  UniqueFd objHigher(fcntl(objFd.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  if (!objHigher) ThrowErrno(errno, pszWhat);
  return objHigher;
}

std::vector<char*> Pointers(const std::vector<std::string>& arrTexts) {
  std::vector<char*> arrPointers;
  for (const std::string& str : arrTexts) arrPointers.push_back(const_cast<char*>(str.c_str()));
  arrPointers.push_back(nullptr);
  return arrPointers;
}

// Ours without the names that are given anew, and those.
std::vector<std::string> Environment(const std::vector<std::string>& arrAdded) {
  std::vector<std::string> arrResult;
  for (char** p = environ; p && *p; ++p) {
    const std::string_view strOurs = *p;
    const std::string_view strName = strOurs.substr(0, std::min(strOurs.find('='), strOurs.size()));
    const bool bReplaced =
        std::any_of(arrAdded.begin(), arrAdded.end(), [&](const std::string& strAdded) {
          return strAdded.starts_with(strName) && strAdded.substr(strName.size(), 1) == "=";
        });
    if (!bReplaced) arrResult.emplace_back(strOurs);
  }
  arrResult.insert(arrResult.end(), arrAdded.begin(), arrAdded.end());
  return arrResult;
}

// All that the child needs, made before the fork: behind it nothing may allocate or lock.
struct LaunchPlan {
  std::vector<char*> arrArguments;
  std::vector<char*> arrEnvironment;
  std::array<int, 3> arrStandard;  // become 0, 1, 2
  std::vector<int> arrKept;        // stay open under their numbers; ascending
  int nErrorPipe;                  // takes the errno of what failed; closed by a good exec
  bool bNewSession;
};

// The descriptors that the child keeps besides the standard ones, each once.
std::vector<int> KeptDescriptors(std::vector<int> arrInherit, int nErrorPipe) {
  arrInherit.push_back(nErrorPipe);
  std::erase_if(arrInherit, [](int nFd) { return nFd <= STDERR_FILENO; });
  std::sort(arrInherit.begin(), arrInherit.end());
  arrInherit.erase(std::unique(arrInherit.begin(), arrInherit.end()), arrInherit.end());
  return arrInherit;
}

[[noreturn]] void FailChild(int nErrorPipe) {
  const int nError = errno;
  (void)!write(nErrorPipe, &nError, sizeof nError);
  _exit(127);
}

void CloseRange(unsigned nFirst, unsigned nLast) {
  if (nFirst <= nLast) close_range(nFirst, nLast, 0);
}

// Only calls that are safe behind a fork.
[[noreturn]] void RunChild(const LaunchPlan& objPlan) {
  if (objPlan.bNewSession) setsid();
  for (int nSignal = 1; nSignal < NSIG; ++nSignal) signal(nSignal, SIG_DFL);
  sigset_t objNone;
  sigemptyset(&objNone);
  sigprocmask(SIG_SETMASK, &objNone, nullptr);

  // First out of the way of 0, 1 and 2, then into their places: they may be one another's.
  const int nAbove = std::max(objPlan.arrKept.back(), 2) + 1;
  std::array<int, 3> arrMoved{};
  for (size_t i = 0; i < arrMoved.size(); ++i) {
    arrMoved[i] = fcntl(objPlan.arrStandard[i], F_DUPFD_CLOEXEC, nAbove);
    if (arrMoved[i] < 0) FailChild(objPlan.nErrorPipe);
  }
  for (size_t i = 0; i < arrMoved.size(); ++i) {
    if (dup2(arrMoved[i], static_cast<int>(i)) < 0) FailChild(objPlan.nErrorPipe);
  }
  unsigned nNext = STDERR_FILENO + 1;
  for (const int nKept : objPlan.arrKept) {
    if (nKept != objPlan.nErrorPipe) fcntl(nKept, F_SETFD, 0);
    CloseRange(nNext, static_cast<unsigned>(nKept) - 1);
    nNext = static_cast<unsigned>(nKept) + 1;
  }
  CloseRange(nNext, ~0u);
  execve(objPlan.arrArguments[0], objPlan.arrArguments.data(), objPlan.arrEnvironment.data());
  FailChild(objPlan.nErrorPipe);
}

// No handler of ours may run in the child, so all signals wait while it is made.
pid_t ForkInto(const LaunchPlan& objPlan) {
  sigset_t objAll;
  sigset_t objOld;
  sigfillset(&objAll);
  pthread_sigmask(SIG_SETMASK, &objAll, &objOld);
  const pid_t nPid = fork();
  if (nPid == 0) RunChild(objPlan);
  const int nError = errno;
  pthread_sigmask(SIG_SETMASK, &objOld, nullptr);
  if (nPid < 0) ThrowErrno(nError, "fork");
  return nPid;
}

// The errno of a failed start, 0 when the program runs.
int ReadStartError(int nFd) {
  int nError = 0;
  ssize_t nRead;
  do {
    nRead = read(nFd, &nError, sizeof nError);
  } while (nRead < 0 && errno == EINTR);
  return nRead == sizeof nError ? nError : 0;
}

pid_t WaitFor(pid_t nPid, int nOptions, int& nStatus) {
  pid_t nResult;
  do {
    nResult = waitpid(nPid, &nStatus, nOptions);
  } while (nResult < 0 && errno == EINTR);
  return nResult;
}

}  // namespace

ChildProcess ChildProcess::Start(const ChildOptions& objOptions) {
  const UniqueFd objNull =
      AboveStandard(UniqueFd(open("/dev/null", O_RDWR | O_CLOEXEC)), "/dev/null");
  std::array<int, 2> arrPipe;
  if (pipe2(arrPipe.data(), O_CLOEXEC) != 0) ThrowErrno(errno, "pipe");
  const UniqueFd objRead(arrPipe[0]);
  UniqueFd objWrite(arrPipe[1]);
  objWrite = AboveStandard(std::move(objWrite), "pipe");

  const auto fnOrNull = [&](int nFd) { return nFd >= 0 ? nFd : objNull.Get(); };
  const std::vector<std::string> arrEnvironment = Environment(objOptions.arrEnvironment);
  const LaunchPlan objPlan{
      Pointers(objOptions.arrArguments),
      Pointers(arrEnvironment),
      {fnOrNull(objOptions.nStdin), fnOrNull(objOptions.nStdout), fnOrNull(objOptions.nStderr)},
      KeptDescriptors(objOptions.arrInherit, objWrite.Get()),
      objWrite.Get(),
      objOptions.bNewSession};

  ChildProcess objChild(ForkInto(objPlan));
  objWrite.Reset();
  const int nError = ReadStartError(objRead.Get());
  if (nError != 0) {
    objChild.Wait();
    ThrowErrno(nError, objOptions.arrArguments.at(0));
  }
  return objChild;
}

std::optional<int> ChildProcess::TryWait() {
  int nStatus = 0;
  if (!m_nStatus && WaitFor(m_nPid, WNOHANG, nStatus) == m_nPid) m_nStatus = nStatus;
  return m_nStatus;
}

int ChildProcess::Wait() {
  int nStatus = 0;
  if (!m_nStatus) {
    if (WaitFor(m_nPid, 0, nStatus) != m_nPid) ThrowErrno(errno, "waitpid");
    m_nStatus = nStatus;
  }
  return *m_nStatus;
}

void ChildProcess::Signal(int nSignal) {
  if (!m_nStatus) kill(m_nPid, nSignal);  // once waited for, the number may be another's
}

std::string DescribeExit(int nStatus) {
  if (WIFSIGNALED(nStatus)) return "signal " + std::to_string(WTERMSIG(nStatus));
  return "exit code " + std::to_string(WEXITSTATUS(nStatus));
}

}  // namespace platform
