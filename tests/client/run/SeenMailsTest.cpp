#include "client/run/SeenMails.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using client::SeenMails;

TEST(SeenMails, TellsTheFirstOfEachKindBeyondWhatWasExpected) {
  SeenMails seen;
  EXPECT_FALSE(seen.Has("Inbox\\", "0"));
  seen.Expect(100);
  constexpr std::size_t kMails = 20'000;
  for (std::size_t i = 0; i < kMails; ++i) {
    ASSERT_EQ(seen.Add("Inbox\\", std::to_string(i), i), i);
  }
  for (std::size_t i = 0; i < kMails; ++i) {
    ASSERT_EQ(seen.Add("Inbox\\", std::to_string(i), kMails + i), i);
    ASSERT_TRUE(seen.Has("Inbox\\", std::to_string(i)));
  }
  EXPECT_FALSE(seen.Has("Sent Items\\", "7"));
  EXPECT_FALSE(seen.Has("Inbox\\", std::to_string(kMails)));
}

}  // namespace
