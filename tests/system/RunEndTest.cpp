#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/mailboxd/HttpCall.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// How a run ends that cannot bring all, and where it tells of what.
namespace system_test {
namespace {

using test_support::ReadAll;
using test_support::TemporaryFolder;
using testing::HasSubstr;
using testing::Not;

void AddMails(const TemporaryFolder& folder, int from, int to) {
  for (int i = from; i < to; ++i) {
    folder.Write(fmt::format("source/{}.eml", i),
                 fmt::format("Message-ID: <{}@example.com>\r\nSubject: {}\r\n\r\nx\r\n", i, i));
  }
}

TEST(RunEnd, AFullMailboxEndsTheRunAfterTwentyMailsInARowAndALaterOneSendsTheRest) {
  const TemporaryFolder folder;
  const std::string refuse = "CreateItem:ErrorQuotaExceeded:";
  const Mailbox mailbox(folder.Path(), {"--fault", refuse + "19"});
  const std::string faults = mailbox.Url() + "/faults";
  const auto run = [&](int status) {
    const Result result =
        RunProgram("tarny", ServerArguments(folder, std::stoi(mailbox.Port())), folder.Path());
    const nlohmann::json summary = SummaryOf(result, status);
    EXPECT_EQ(ReadAll(folder.File("run/summary.json")), result.out);
    return summary;
  };
  AddMails(folder, 100, 140);
  nlohmann::json summary = run(1);  // there was room for others
  EXPECT_EQ(summary["failed"], 19);
  EXPECT_EQ(summary["sent"], 21);
  EXPECT_EQ(summary["stopped"], "");

  AddMails(folder, 200, 220);
  ASSERT_EQ(mailbox_test::Send({.url = faults, .body = refuse + "2000"}).status, 204);
  summary = run(1);
  EXPECT_EQ(summary["failed"], 20);
  EXPECT_EQ(summary["not_reached"], 19);
  EXPECT_THAT(summary["stopped"].get<std::string>(),
              testing::AllOf(HasSubstr("the mailbox is full: "),
                             HasSubstr("20 items, and took none between")));
  EXPECT_EQ(summary["failures"][0]["text"],
            "The mailbox has exceeded its quota; the mailbox is full.");

  ASSERT_EQ(mailbox_test::Send({.url = faults, .method = "DELETE"}).status, 204);
  summary = run(0);
  EXPECT_EQ(summary["sent"], 39);
  EXPECT_EQ(summary["there_already"], 21);
}

// What a text has no room for is in a file of the run folder, where that can be written.
TEST(RunEnd, ALongListNamesTheFileThatHasAllOfIt) {
  const TemporaryFolder folder;
  std::string calendar = "BEGIN:VCALENDAR\r\n";
  for (int i = 0; i < 60; ++i) {
    calendar +=
        fmt::format("BEGIN:VEVENT\r\nSUMMARY:{}\r\nDTSTART:99991231T235959Z\r\nEND:VEVENT\r\n", i);
  }
  folder.Write("source/all.ics", calendar + "END:VCALENDAR\r\n");
  AddMails(folder, 0, 1);
  const auto run = [&](const std::string& command, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = MigrateArguments(folder, more);
    arguments[0] = command;
    std::erase(arguments, "--json");
    return RunProgram("tarny", arguments, folder.Path());
  };
  const std::string cut = "  and 10 more (--json has all)\n";
  const std::string file = folder.File("run/summary.json");
  EXPECT_THAT(run("migrate", {"--dry-run"}).out, HasSubstr(cut));
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_THAT(run("migrate").out, HasSubstr("  and 10 more: " + file + "\n"));
  EXPECT_EQ(nlohmann::json::parse(ReadAll(file))["left_out"].size(), 60u);
  EXPECT_THAT(run("verify").out, HasSubstr(cut));

  std::filesystem::remove(file);
  std::filesystem::create_directories(file + "/in the way");
  const Result blocked = run("migrate", {"--ignore-left-out"});
  EXPECT_EQ(blocked.status, 0) << blocked.err;
  EXPECT_THAT(blocked.err, HasSubstr("The summary cannot be put into "));
  EXPECT_THAT(blocked.out, testing::AllOf(HasSubstr(cut), Not(HasSubstr("summary.json"))));
  EXPECT_FALSE(std::filesystem::exists(file + ".new"));
}

}  // namespace
}  // namespace system_test
