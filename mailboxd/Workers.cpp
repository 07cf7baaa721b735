#include "mailboxd/Workers.h"

#include <chrono>
#include <utility>

namespace mailbox {

Workers::Workers(size_t threads, std::function<void(size_t)> makeRoom)
    : httplib::ThreadPool(threads),
      m_threads(threads),
      m_makeRoom(std::move(makeRoom)),
      m_watch([this](const std::stop_token& stop) { Watch(stop); }) {}

void Workers::enqueue(std::function<void()> serve) {
  {
    const std::lock_guard lock(m_mutex);
    ++m_open;
  }
  m_changed.notify_all();
  httplib::ThreadPool::enqueue([this, serve = std::move(serve)] {
    serve();
    const std::lock_guard lock(m_mutex);
    --m_open;
  });
}

void Workers::shutdown() {
  m_watch.request_stop();
  m_watch.join();
  httplib::ThreadPool::shutdown();
}

void Workers::Watch(const std::stop_token& stop) {
  constexpr std::chrono::milliseconds kPause{100};
  std::unique_lock lock(m_mutex);
  while (m_changed.wait(lock, stop, [this] { return m_open > m_threads; })) {
    const size_t waiting = m_open - m_threads;
    lock.unlock();
    m_makeRoom(waiting);
    lock.lock();
    m_changed.wait_for(lock, stop, kPause, [] { return false; });
  }
}

}  // namespace mailbox
