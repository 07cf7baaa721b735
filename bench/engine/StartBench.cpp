// From the start of an engine to its first answer, beside the start of a process that does nothing.
// An engine opens its ledger before it serves, so the first start, which makes the ledger, has a
// row of its own.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "client/run/EngineProcess.h"
#include "client/run/RunFolder.h"
#include "platform/ChildProcess.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kStarts = 50;

double MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void Say(const std::string& line) { fmt::print(stderr, "{}\n", line); }

double StartEngine(const client::RunFolder& run) {
  const auto start = Clock::now();
  client::EngineProcess engine(run, {"--safe"}, {}, Say);
  // Without a logon nothing leaves the engine: the answer is that there is no archive.
  if (engine.Client().CheckArchive() != 0) throw std::runtime_error("a wrong answer");
  return MillisecondsSince(start);
}

double StartNothing() {
  const auto start = Clock::now();
  platform::ChildOptions options;
  options.arrArguments = {"/bin/true"};
  if (platform::ChildProcess::Start(options).Wait() != 0) throw std::runtime_error("no /bin/true");
  return MillisecondsSince(start);
}

void Print(const char* name, std::vector<double> times) {
  std::ranges::sort(times);
  fmt::print("{:<28} {:>6} {:>12.2f} {:>12.2f}\n", name, times.size(), times[times.size() / 2],
             times.back());
}

void RunAll(const std::string& folder) {
  client::RunFolder run(folder);
  run.TakeOver(Say);
  run.InstallEngine(TARNY_BIN "/TarnyOutlookEngine");
  fmt::print("{:<28} {:>6} {:>12} {:>12}\n", "", "starts", "median ms", "worst ms");
  Print("engine, new run folder", {StartEngine(run)});
  std::vector<double> engine;
  std::vector<double> nothing;
  for (int i = 0; i < kStarts; ++i) {
    engine.push_back(StartEngine(run));
    nothing.push_back(StartNothing());
  }
  Print("engine", engine);
  Print("process that does nothing", nothing);
}

}  // namespace

int main() {
  std::string folder = std::filesystem::temp_directory_path() / "tarny-bench-XXXXXX";
  if (!mkdtemp(folder.data())) return 1;
  int exitCode = 0;
  try {
    RunAll(folder + "/run");
  } catch (const std::exception& error) {
    fmt::print(stderr, "StartBench: {}\n", error.what());
    exitCode = 1;
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return exitCode;
}
