#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// A server that is gone for a time in the middle of a run.
namespace system_test {
namespace {

using test_support::TemporaryFolder;

void ExpectWaitedOut(std::chrono::seconds away) {
  const TemporaryFolder folder;
  const Generated mails = WriteMails(folder, 120);
  // Answers are held back, so that the death falls behind a save.
  const std::vector<std::string> slow = {"--fault", "hold:20"};
  auto mailbox = std::make_unique<Mailbox>(folder.Path(), slow);
  const std::string port = mailbox->Port();
  Program tarny("tarny", ServerArguments(folder, std::stoi(port)), folder.Path());
  while (LedgerRows(folder) < 30) {
    ASSERT_FALSE(tarny.TryWait()) << tarny.Err();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  mailbox->Kill();
  while (tarny.Err().find("does not answer") == std::string::npos) {
    ASSERT_FALSE(tarny.TryWait()) << tarny.Err();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  std::this_thread::sleep_for(away);
  ASSERT_FALSE(tarny.TryWait()) << tarny.Err();
  mailbox = std::make_unique<Mailbox>(folder.Path(), std::vector<std::string>{"--port", port});

  const Result result = tarny.Wait();
  const nlohmann::json summary = SummaryOf(result);
  EXPECT_EQ(summary["failed"], 0) << result.err;
  EXPECT_GT(summary["waits"], 0) << result.err;
  EXPECT_GE(summary["waited_seconds"], away.count() - 1);
  mailbox.reset();
  EXPECT_TRUE(ContentsOf(folder.File("mailbox")) == mails.expected) << result.err;
}

TEST(Outage, AServerThatIsAwayForThreeSecondsIsWaitedFor) {
  ExpectWaitedOut(std::chrono::seconds(3));
}

TEST(SoakOutage, AServerThatIsAwayForHalfAMinuteIsWaitedFor) {
  ExpectWaitedOut(std::chrono::seconds(30));
}

TEST(SoakOutage, AServerThatIsAwayForFiveMinutesIsWaitedFor) {
  ExpectWaitedOut(std::chrono::minutes(5));
}

}  // namespace
}  // namespace system_test
