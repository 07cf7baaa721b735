#include "client/run/ServerWaits.h"

#include <charconv>

namespace client {
namespace {

// "mail.example.com does not answer (reason): next try in 8 s, for 29 min more", and later
// "mail.example.com answers again after 42 s", or "mail.example.com answers other requests, and not
// this one: …".
bool TellsOfWait(std::string_view line) {
  return line.find(" does not answer (") != std::string_view::npos &&
         line.find(": next try in ") != std::string_view::npos;
}
bool TellsOfAnswer(std::string_view line) {
  return line.find(" answers again after ") != std::string_view::npos ||
         line.find(" answers other requests, and not this one") != std::string_view::npos;
}

// "mail.example.com has been silent for 15 s; waiting up to 120 s": how long, or 0 for other lines.
// No line tells of its end.
std::chrono::seconds SilenceIn(std::string_view line) {
  constexpr std::string_view kSilent = " has been silent for ";
  const std::size_t at = line.find(kSilent);
  int seconds = 0;
  if (at != std::string_view::npos) {
    line.remove_prefix(at + kSilent.size());
    std::from_chars(line.data(), line.data() + line.size(), seconds);
  }
  return std::chrono::seconds(seconds);
}

}  // namespace

void ServerWaits::Note(std::string_view line, Clock::time_point now) {
  if (TellsOfAnswer(line)) return End(now);
  const std::chrono::seconds silence = SilenceIn(line);
  if (!TellsOfWait(line) && silence.count() == 0) return;
  const std::lock_guard lock(m_mutex);
  if (!m_waiting) m_since = now - silence;
  m_waiting = true;
  ++m_count;
  if (silence.count() == 0) ++m_failures;
}

void ServerWaits::Add(std::chrono::milliseconds time) {
  const std::lock_guard lock(m_mutex);
  ++m_count;
  m_time += time;
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

std::uint64_t ServerWaits::Failures() const {
  const std::lock_guard lock(m_mutex);
  return m_failures;
}

std::chrono::milliseconds ServerWaits::Time() const {
  const std::lock_guard lock(m_mutex);
  return m_time;
}

}  // namespace client
