#include "client/run/SeenMails.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "client/run/NumberRanges.h"

namespace {

using client::NumberRanges;
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

// As those of two folders do that lie among one another, and of one that does not.
TEST(NumberRanges, GiveBackWhatTheyWereGiven) {
  NumberRanges numbers;
  const std::vector<std::size_t> given = {0, 2, 4, 5, 6, 7, 1'000'000, 1'000'001};
  for (const std::size_t number : given) numbers.Add(number);
  std::vector<std::size_t> found;
  for (const std::size_t number : numbers) found.push_back(number);
  EXPECT_EQ(found, given);
}

}  // namespace
