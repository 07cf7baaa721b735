#pragma once

#include <algorithm>
#include <chrono>

namespace bench {

// Nanoseconds of one run: the best of a quarter of a second's worth of rounds.
template <class Run>
double BestTime(Run run) {
  using Clock = std::chrono::steady_clock;
  double best = 1e18;
  const auto end = Clock::now() + std::chrono::milliseconds(250);
  int inner = 1;
  while (Clock::now() < end) {
    const auto start = Clock::now();
    for (int n = 0; n < inner; ++n) run();
    const double taken =
        std::chrono::duration<double, std::nano>(Clock::now() - start).count() / inner;
    best = std::min(best, taken);
    if (taken * inner < 100'000) inner *= 2;
  }
  return best;
}

}  // namespace bench
