#include "client/run/EngineProcess.h"

#include <chrono>
#include <csignal>
#include <system_error>

#include <fmt/format.h>

namespace client {
namespace {

constexpr auto kOneTry = std::chrono::milliseconds(200);
constexpr int kTries = 150;  // half a minute: a machine under load starts programs slowly

}  // namespace

EngineProcess::EngineProcess(const RunFolder& run, const std::vector<std::string>& options,
                             std::vector<int> inherited, const Say& say) {
  Pipe messages = MakePipe();
  platform::ChildOptions start;
  start.arrArguments = {run.EngineProgram()};
  start.arrArguments.insert(start.arrArguments.end(), options.begin(), options.end());
  start.arrArguments.push_back(run.Title());
  start.nStderr = messages.writeEnd.Get();
  start.arrInherit = std::move(inherited);
  start.arrInherit.push_back(run.EngineLock());
  try {
    m_process.emplace(platform::ChildProcess::Start(start));
  } catch (const std::system_error& error) {
    throw RunError(fmt::format("the engine cannot be started: {}", error.what()));
  }
  messages.writeEnd.Reset();
  m_drain = std::make_unique<LineDrain>(std::move(messages.readEnd), say);
  AwaitEndpoint(run.Title());
}

EngineProcess::~EngineProcess() {
  try {
    Close();
  } catch (const std::exception&) {
    // It has hung up by itself.
  }
}

void EngineProcess::AwaitEndpoint(const std::string& title) {
  for (int i = 0; i < kTries && !m_client; ++i) {
    try {
      m_client = std::make_unique<EngineClient>(title, kOneTry);
    } catch (const platform::EndpointError&) {
      if (const std::optional<int> status = m_process->TryWait()) {
        throw EngineEnded(platform::DescribeExit(*status));
      }
    }
  }
  if (m_client) return;
  m_process->Signal(SIGKILL);
  m_process->Wait();
  throw RunError("the engine does not answer");
}

void EngineProcess::Close() {
  if (m_client) {
    const std::unique_ptr<EngineClient> client = std::move(m_client);
    try {
      client->Close();
    } catch (const platform::EndpointError&) {
      // It was faster.
    }
  }
  if (m_process) m_process->Wait();
}

std::string EngineProcess::DescribeEnd() {
  m_client.reset();
  return platform::DescribeExit(m_process->Wait());
}

}  // namespace client
