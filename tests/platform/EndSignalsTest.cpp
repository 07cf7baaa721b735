#include "platform/EndSignals.h"

#include <gtest/gtest.h>

namespace {

using platform::EndSignals;

TEST(EndSignals, AHangUpIsOneUnlessItWasIgnoredBefore) {
  for (const bool ignored : {false, true}) {
    const auto before = std::signal(SIGHUP, ignored ? SIG_IGN : SIG_DFL);
    {
      EndSignals signals;
      raise(SIGHUP);
      EXPECT_EQ(EndSignals::Came(), !ignored);
      EXPECT_EQ(signals.Take(), !ignored);
      EXPECT_FALSE(signals.Take());
      EXPECT_EQ(EndSignals::Came(), !ignored);
    }
    std::signal(SIGHUP, before);
  }
}

}  // namespace
