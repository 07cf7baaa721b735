#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "client/run/EngineProcess.h"
#include "client/run/RunFolder.h"
#include "client/run/Target.h"
#include "mailboxd/Server.h"

// What benchmarks of the engine share.

inline constexpr const char* kUser = "bench@local.example";

// Processor time that a clock has counted up to now, in seconds.
inline double ProcessorTime(clockid_t clock) {
  timespec time{};
  if (clock_gettime(clock, &time) != 0) throw std::runtime_error("no processor time can be read");
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

inline clockid_t ClockOf(pid_t pid) {
  clockid_t clock{};
  if (clock_getcpuclockid(pid, &clock) != 0) throw std::runtime_error("the engine is gone");
  return clock;
}

// A mailbox server, and an engine with its safeguards that is logged on to it and has the Inbox as
// its folder.
class BenchEngine {
 public:
  // The server's data folder is in that folder, whatever the options say.
  explicit BenchEngine(const std::string& folder, mailbox::ServerOptions options)
      : m_run(folder + "/run"), m_server(InFolder(folder, std::move(options))) {
    const auto say = [](const std::string& line) { fmt::print(stderr, "{}\n", line); };
    m_server.Start();
    m_run.TakeOver(say);
    m_run.InstallEngine(TARNY_BIN "/TarnyOutlookEngine");
    std::vector<std::string> arguments{"--safe", "--autodiscover-url", m_server.AutodiscoverUrl(),
                                       "--trust-host", "127.0.0.1"};
    if (const std::string ca = m_server.CertificateFile(); !ca.empty()) {
      arguments.insert(arguments.end(), {"--verify-certificates", "--ca-file", ca});
    }
    m_engine.emplace(m_run, arguments, std::vector<int>(), say);
    client::Target target;
    target.user = kUser;
    target.password = "local";
    ST_FOLDER_INFO inbox;
    inbox.strFolder = u"Inbox\\";
    if (!m_engine->Client().Logon(client::LoginRecord(target)) ||
        m_engine->Client().CreateFolder(inbox) != 1) {
      throw std::runtime_error("the engine cannot log on");
    }
  }

  const client::RunFolder& Run() const { return m_run; }
  const mailbox::Server& Server() const { return m_server; }
  client::EngineProcess& Engine() { return *m_engine; }

 private:
  static mailbox::ServerOptions InFolder(const std::string& folder,
                                         mailbox::ServerOptions options) {
    options.dataFolder = folder + "/mailbox";
    return options;
  }

  client::RunFolder m_run;
  mailbox::Server m_server;
  std::optional<client::EngineProcess> m_engine;
};

// Runs a benchmark in a folder of its own, which goes afterwards; the exit code of its program.
template <typename WORK>
int RunInFolder(const char* name, WORK&& work) {
  std::string folder = std::filesystem::temp_directory_path() / "tarny-bench-XXXXXX";
  if (!mkdtemp(folder.data())) return 1;
  int exitCode = 0;
  try {
    work(folder);
  } catch (const std::exception& error) {
    fmt::print(stderr, "{}: {}\n", name, error.what());
    exitCode = 1;
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return exitCode;
}
