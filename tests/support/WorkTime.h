#pragma once

#include <algorithm>
#include <cstddef>
#include <ctime>

#include <gtest/gtest.h>

namespace test_support {

// The processor's seconds for a piece of work: neither other programs nor waiting count.
template <typename Work>
double WorkTime(Work work) {
  const std::clock_t start = std::clock();
  work();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// Whether work(count), which takes an input of that size, grows with it and not with its square,
// up to `most`: a tenth is measured beside. Linear work takes ten times as long, quadratic work a
// hundred times. One that seems to grow faster is measured again, for the best time is the true
// one.
template <typename Work>
testing::AssertionResult GrowsLinearly(Work work, std::size_t most) {
  constexpr double kMostTimes = 30;
  // Seconds, below which a measure tells little: larger blocks come straight from the system, which
  // costs more for each byte, with the sanitizers above all. Quadratic work is told apart from two
  // milliseconds for the tenth on.
  constexpr double kLittle = 0.1;
  double tenth = 1e9;
  double whole = 1e9;
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 3; ++i) {
      tenth = std::min(tenth, WorkTime([&] { work(most / 10); }));
    }
    whole = std::min(whole, WorkTime([&] { work(most); }));
    if (whole < kMostTimes * tenth + kLittle) return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << whole << " s, and " << tenth << " s for a tenth of it";
}

}  // namespace test_support
