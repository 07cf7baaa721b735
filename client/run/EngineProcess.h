#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/run/EngineClient.h"
#include "client/run/LineDrain.h"
#include "client/run/RunFolder.h"
#include "client/run/RunMessages.h"
#include "platform/ChildProcess.h"

namespace client {

// The engine ended before it had taken up its work; what() says how, for people.
class EngineEnded : public RunError {
 public:
  explicit EngineEnded(const std::string& how)
      : RunError("the engine ended at its start: " + how) {}
};

// One engine, started in a run folder, with a session of its own. Its messages are shown as they
// come. The destructor asks it to end and waits.
class EngineProcess {
 public:
  // options stand in front of the marker. inherited stay open in the engine besides the run
  // folder's lock. Throws EngineEnded or RunError when the engine does not come up.
  EngineProcess(const RunFolder& run, const std::vector<std::string>& options,
                std::vector<int> inherited, const Say& say);
  ~EngineProcess();
  EngineProcess(const EngineProcess&) = delete;
  EngineProcess& operator=(const EngineProcess&) = delete;

  EngineClient& Client() { return *m_client; }
  pid_t Pid() const { return m_process->Pid(); }
  void Close();  // ends it and waits; does nothing when it has ended
  // After it hung up: how it ended, for people.
  std::string DescribeEnd();

 private:
  void AwaitEndpoint(const std::string& title);

  std::unique_ptr<LineDrain> m_drain;
  std::optional<platform::ChildProcess> m_process;
  std::unique_ptr<EngineClient> m_client;
};

}  // namespace client
