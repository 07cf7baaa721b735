#include "client/run/RunFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <optional>
#include <thread>

#include <fmt/format.h>

#include "client/run/NewFile.h"
#include "client/run/StopRequest.h"
#include "client/sources/SourceFiles.h"
#include "platform/EndpointClient.h"
#include "platform/Paths.h"

namespace client {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kRefused = "%#&\"'<>\\";
constexpr auto kBetweenLooks = std::chrono::milliseconds(20);
constexpr auto kSilenceLimit = std::chrono::seconds(10);
constexpr auto kTimeToEnd = std::chrono::seconds(3);  // before an engine is asked once more

std::string AbsolutePath(const std::string& path) {
  std::error_code error;
  const fs::path absolute = fs::weakly_canonical(fs::absolute(path), error);
  if (error) throw RunError(fmt::format("{}: {}", path, error.message()));
  std::string text = absolute.string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

// A folder with other people's files is no place for a run: its work folder is emptied.
void RequireOwnFolder(const std::string& path) {
  std::error_code error;
  if (fs::exists(path + "/driver", error) || fs::is_empty(path, error)) return;
  if (error) throw RunError(fmt::format("{}: {}", path, error.message()));
  throw RunError(
      fmt::format("{} holds other files; name a new or an empty folder for the run", path));
}

platform::UniqueFd OpenLock(const std::string& path) {
  platform::UniqueFd lock(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!lock) throw RunError(fmt::format("{} cannot be opened: {}", path, std::strerror(errno)));
  return lock;
}

bool TryLock(const platform::UniqueFd& lock) { return flock(lock.Get(), LOCK_EX | LOCK_NB) == 0; }

bool SameContent(const std::string& a, const std::string& b) {
  struct stat first;
  struct stat second;
  if (stat(a.c_str(), &first) != 0 || stat(b.c_str(), &second) != 0) return false;
  if (first.st_dev == second.st_dev && first.st_ino == second.st_ino) return true;
  if (first.st_size != second.st_size) return false;
  return ReadWholeFile(a) == ReadWholeFile(b);
}

// Asks the engine of that title to end, if it answers.
void AskToEnd(const std::string& title) {
  try {
    platform::EndpointClient(title, std::chrono::milliseconds(0)).Close();
  } catch (const platform::EndpointError&) {
    // It is ending already, or not ready yet; the caller looks again.
  }
}

// An engine that waits for its server hears a signal, and no frame before its item is done.
void SignalToEnd(const std::string& title) {
  if (const pid_t pid = platform::EndpointClient::ProcessOf(title); pid > 0) kill(pid, SIGTERM);
}

// A program from another file system. The library's own copy hides why it fails.
void CopyProgram(const std::string& from, const std::string& to) {
  WriteNewFile(to, ReadWholeFile(from));
  fs::permissions(to, fs::perms::owner_all);
}

}  // namespace

std::string RunPathProblem(const std::string& absolutePath) {
  if (absolutePath.size() > kMaxRunPath) {
    return fmt::format("its absolute path is longer than {} bytes", kMaxRunPath);
  }
  const bool usable = std::all_of(absolutePath.begin(), absolutePath.end(), [](char c) {
    return c >= ' ' && c <= '~' && kRefused.find(c) == std::string_view::npos;
  });
  if (usable) return {};
  return "its absolute path holds a character that cannot serve here; only printable ASCII without "
         "% # & \" ' < > \\ can";
}

std::string RunFolder::Title() const { return "<GUID>" + m_path; }

RunFolder::RunFolder(const std::string& path) : m_path(AbsolutePath(path)) {
  const std::string problem = RunPathProblem(m_path);
  if (!problem.empty()) {
    throw RunError(
        fmt::format("{} cannot be the run folder: {}; choose another with --run", m_path, problem));
  }
  std::error_code error;
  fs::create_directories(fs::path(m_path).parent_path(), error);
  if (!error && mkdir(m_path.c_str(), 0700) != 0 && errno != EEXIST) {
    error.assign(errno, std::generic_category());
  }
  if (error) throw RunError(fmt::format("{} cannot be made: {}", m_path, error.message()));
  RequireOwnFolder(m_path);
  m_driverLock = OpenLock(File("driver"));
  if (!TryLock(m_driverLock)) {
    throw RunError(fmt::format("another tarny works in {}", m_path));
  }
  platform::SetProgramFolder(m_path);
}

void RunFolder::TakeOver(const Say& say) {
  m_engineLock = OpenLock(File("lock"));
  bool told = false;
  bool signalled = false;
  auto lastAnswer = std::chrono::steady_clock::now();
  std::optional<std::chrono::steady_clock::time_point> asked;
  while (!TryLock(m_engineLock)) {
    if (StopRequested()) throw RunError("stopped");
    const auto now = std::chrono::steady_clock::now();
    if (platform::EndpointClient::IsServed(Title())) {
      lastAnswer = now;
      if (!told) {
        say("An engine of an earlier run is still at work here; waiting for its item.");
        told = true;
      }
      if (!asked || now - *asked > kTimeToEnd) {
        // Once: a second signal would end it in the middle of its item.
        asked && !signalled ? SignalToEnd(Title()) : AskToEnd(Title());
        signalled = asked.has_value();
        asked = now;
      }
    } else if (now - lastAnswer > kSilenceLimit) {
      throw RunError(
          fmt::format("an engine of an earlier run holds {} and does not answer; end it "
                      "and start again",
                      File("lock")));
    }
    std::this_thread::sleep_for(kBetweenLooks);
  }
}

void RunFolder::InstallEngine(const std::string& engineProgram) {
  std::error_code error;
  if (!fs::exists(engineProgram, error)) {
    throw RunError(fmt::format("{} is missing", engineProgram));
  }
  if (SameContent(engineProgram, EngineProgram())) return;
  const std::string fresh = EngineProgram() + ".new";
  fs::remove(fresh, error);
  fs::create_hard_link(engineProgram, fresh, error);
  try {
    if (error) CopyProgram(engineProgram, fresh);
    fs::rename(fresh, EngineProgram());
  } catch (const std::exception& failure) {
    fs::remove(fresh, error);
    throw RunError(fmt::format("the engine cannot be put into {}: {}", m_path, failure.what()));
  }
}

std::string OwnFolder() {
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error).parent_path().string();
}

}  // namespace client
