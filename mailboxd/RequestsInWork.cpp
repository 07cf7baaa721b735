#include "mailboxd/RequestsInWork.h"

namespace mailbox {

bool RequestsInWork::Begin(int port) {
  const std::lock_guard lock(m_mutex);
  if (!m_closed) m_ports.insert(port);
  return !m_closed;
}

void RequestsInWork::End(int port) {
  const std::lock_guard lock(m_mutex);
  m_ports.erase(port);
  m_ended.notify_all();
}

std::set<int> RequestsInWork::Ports() {
  const std::lock_guard lock(m_mutex);
  return m_ports;
}

std::set<int> RequestsInWork::Close() {
  const std::lock_guard lock(m_mutex);
  m_closed = true;
  return m_ports;
}

void RequestsInWork::Wait(std::chrono::milliseconds time) {
  std::unique_lock lock(m_mutex);
  m_ended.wait_for(lock, time, [this] { return m_ports.empty(); });
}

}  // namespace mailbox
