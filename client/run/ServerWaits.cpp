#include "client/run/ServerWaits.h"

namespace client {
namespace {

// "mail.example.com does not answer (reason): next try in 8 s, for 29 min more", and later
// "mail.example.com answers again after 42 s".
bool TellsOfWait(std::string_view line) {
  return line.find(" does not answer (") != std::string_view::npos &&
         line.find(": next try in ") != std::string_view::npos;
}
bool TellsOfAnswer(std::string_view line) {
  return line.find(" answers again after ") != std::string_view::npos;
}

}  // namespace

void ServerWaits::Note(std::string_view line, Clock::time_point now) {
  if (TellsOfAnswer(line)) return End(now);
  if (!TellsOfWait(line)) return;
  const std::lock_guard lock(m_mutex);
  if (!m_waiting) m_since = now;
  m_waiting = true;
  ++m_count;
}

void ServerWaits::End(Clock::time_point now) {
  const std::lock_guard lock(m_mutex);
  if (m_waiting) m_time += std::chrono::duration_cast<std::chrono::milliseconds>(now - m_since);
  m_waiting = false;
}

std::uint64_t ServerWaits::Count() const {
  const std::lock_guard lock(m_mutex);
  return m_count;
}

std::chrono::milliseconds ServerWaits::Time() const {
  const std::lock_guard lock(m_mutex);
  return m_time;
}

}  // namespace client
