#include "client/run/FailuresInARow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace client {
namespace {

using testing::HasSubstr;
using enum Outcome::Kind;

class FailuresInARowTest : public testing::Test {
 protected:
  std::string Add(int times, const Outcome& outcome) {
    std::string reason;
    for (int n = 0; n < times; ++n) {
      EXPECT_EQ(reason, "");
      reason = m_failures.Add(outcome);
    }
    return reason;
  }

 private:
  Target m_target;
  FailuresInARow m_failures{m_target};
};

TEST_F(FailuresInARowTest, OnlyWhatIsSentShowsThatAFullMailboxHasRoom) {
  const Outcome full{kFailed, "No room for 7 KB; the mailbox is full."};
  const Outcome folder{kFailed, "The folder could not be made: Quota; the mailbox is full."};
  EXPECT_EQ(Add(19, full), "");
  EXPECT_EQ(Add(1, {kSent, ""}), "");
  EXPECT_EQ(Add(18, full), "");
  EXPECT_EQ(Add(1, {kKnown, ""}), "");
  EXPECT_EQ(Add(1, {kUpdated, ""}), "");
  EXPECT_EQ(Add(1, {kFailed, "cannot be read"}), "");
  EXPECT_EQ(Add(1, {kSent, "a remark that quotes; the mailbox is full."}), "");
  EXPECT_EQ(Add(18, full), "");
  EXPECT_EQ(Add(1, {kKnown, ""}), "");
  EXPECT_EQ(Add(1, {kUpdated, ""}), "");
  EXPECT_EQ(Add(1, {kFailed, "cannot be read"}), "");
  EXPECT_EQ(Add(1, folder), "");
  EXPECT_THAT(Add(1, full), HasSubstr("the mailbox is full: it had no room for 20 items"));
}

TEST_F(FailuresInARowTest, ItemsThatFailByThemselvesEndNothing) {
  EXPECT_EQ(Add(50, {kFailed, "The index is out of range."}), "");
  EXPECT_EQ(Add(50, {kFailed, "'; the mailbox is full.' is no subject."}), "");
  EXPECT_EQ(Add(19, {kFailed, "The request failed. HTTP 405 for 12 KB."}), "");
  EXPECT_EQ(Add(1, {kFailed, "cannot be read"}), "");
  EXPECT_EQ(Add(19, {kFailed, "The request failed. HTTP 405 for 12 KB."}), "");
  EXPECT_THAT(Add(1, {kFailed, "The request failed. HTTP 405 for 9 KB."}),
              HasSubstr("20 items in a row failed with"));
}

}  // namespace
}  // namespace client
