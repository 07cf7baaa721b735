#pragma once

#include <stdexcept>
#include <thread>

#include <httplib.h>

namespace test_support {

// Runs a server on a free port of 127.0.0.1, in a thread of its own, until the object goes. The
// server and what its handlers use must outlive it.
class LoopbackThread {
 public:
  explicit LoopbackThread(httplib::Server& server)
      : m_server(server), m_port(server.bind_to_any_port("127.0.0.1")) {
    if (m_port <= 0) throw std::runtime_error("no port for a test's server");
    m_thread = std::thread([&server] { server.listen_after_bind(); });
    // stop() is a no-op before the accept loop runs.
    while (!server.is_running()) std::this_thread::yield();
  }
  ~LoopbackThread() {
    m_server.stop();
    m_thread.join();
  }
  LoopbackThread(const LoopbackThread&) = delete;
  LoopbackThread& operator=(const LoopbackThread&) = delete;

  int Port() const { return m_port; }

 private:
  httplib::Server& m_server;
  const int m_port;
  std::thread m_thread;
};

}  // namespace test_support
