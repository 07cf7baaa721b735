#pragma once

#include <httplib.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>

namespace mailbox {

// Threads, each of which serves one connection until it ends. While there are more connections than
// threads, room is asked for again and again, so that those who say nothing keep nobody out.
class Workers : public httplib::ThreadPool {
 public:
  // `makeRoom` is called on a thread of its own, with the number of connections that wait.
  Workers(size_t threads, std::function<void(size_t)> makeRoom);

  void enqueue(std::function<void()> serve) override;
  void shutdown() override;

 private:
  void Watch(const std::stop_token& stop);

  const size_t m_threads;
  const std::function<void(size_t)> m_makeRoom;
  std::mutex m_mutex;
  std::condition_variable_any m_changed;
  size_t m_open = 0;  // connections, served and waiting
  std::jthread m_watch;
};

}  // namespace mailbox
