#pragma once

#include <chrono>

#include "client/run/ServerWaits.h"

namespace client {

// Counts as a wait what it takes to look into the target, but for what is told of meanwhile.
class CountedLook {
 public:
  explicit CountedLook(ServerWaits& waits) : m_waits(waits), m_told(waits.Time()) {}
  ~CountedLook() {
    const auto whole =
        std::chrono::duration_cast<std::chrono::milliseconds>(ServerWaits::Clock::now() - m_begun);
    const auto own = whole - (m_waits.Time() - m_told);
    if (own >= std::chrono::seconds(1)) m_waits.Add(own);
  }
  CountedLook(const CountedLook&) = delete;
  CountedLook& operator=(const CountedLook&) = delete;

 private:
  ServerWaits& m_waits;
  const ServerWaits::Clock::time_point m_begun = ServerWaits::Clock::now();
  const std::chrono::milliseconds m_told;
};

}  // namespace client
