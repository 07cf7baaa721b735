#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>

namespace mailbox {

// The connections whose request is in work until its answer is out, by their client's port, so that
// a server that ends leaves each its answer. All calls may come from any thread.
class RequestsInWork {
 public:
  // False once the server ends: then nothing is to be done.
  [[nodiscard]] bool Begin(int port);
  void End(int port);

  std::set<int> Ports();
  // From here on none begins. Returns those that are in work.
  std::set<int> Close();
  // Returns when all are done, or when that time has passed.
  void Wait(std::chrono::milliseconds time);

 private:
  std::mutex m_mutex;
  std::condition_variable m_ended;
  std::set<int> m_ports;
  bool m_closed = false;
};

}  // namespace mailbox
