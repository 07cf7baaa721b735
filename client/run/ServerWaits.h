#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string_view>

namespace client {

// Counts how often and how long a run waited for a server that did not answer: by the lines in
// which the engine, and our own requests, tell of it, a request in which nothing moves among them,
// and for what was looked for in the target. Functions may be called from any thread.
class ServerWaits {
 public:
  using Clock = std::chrono::steady_clock;

  // Takes any line that is told; most say nothing of waits.
  void Note(std::string_view line, Clock::time_point now = Clock::now());
  // A wait of that time of which no line told.
  void Add(std::chrono::milliseconds time);
  // Nobody waits any more, whatever was told last.
  void End(Clock::time_point now = Clock::now());

  std::uint64_t Count() const;             // tries that were waited for, silences, looks
  std::uint64_t Failures() const;          // tries alone
  std::chrono::milliseconds Time() const;  // from first waits to answers, in all

 private:
  mutable std::mutex m_mutex;
  std::uint64_t m_count = 0;
  std::uint64_t m_failures = 0;
  std::chrono::milliseconds m_time{0};
  bool m_waiting = false;
  Clock::time_point m_since;
};

}  // namespace client
