#include <algorithm>
#include <csignal>
#include <filesystem>
#include <future>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/FaultProxy.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/EngineRun.h"
#include "tests/system/Programs.h"

// Mails that are larger than the target allows, through the real programs.
namespace system_test {
namespace {

using testing::HasSubstr;
using Lines = std::vector<std::string>;
using Files = std::vector<std::pair<std::string, std::string>>;

const Lines kLimit = {"--max-message-size", "20000"};
constexpr const char* kTooLarge = "The message exceeds the maximum supported size.";

// A mail with that text, made too large by two files.
std::string LargeMail(const std::string& id, const std::string& text) {
  return "From: Ann \xC3\x84 <ann@example.com>\r\nTo: bob@example.com, cee@example.com\r\n"
         "Date: Mon, 4 Mar 2024 08:12:41 +0000\r\nImportance: high\r\nMessage-ID: <" +
         id + "@example.com>\r\nSubject: large " + id +
         "\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n" +
         text + "\r\n--b\r\nContent-Type: application/pdf; name=plan.pdf\r\n\r\n" +
         std::string(30000, 'x') +
         "\r\n--b\r\nContent-Type: image/png\r\n"
         "Content-Disposition: attachment; filename=\"a b.png\"\r\n\r\npng\r\n--b--\r\n";
}

const std::string kPage =
    "Content-Type: text/html; charset=utf-8\r\n\r\n<h1>Head</h1><pre>a\tb</pre>"
    "<p>\xE6\xBD\xAE and caf\xC3\xA9</p>";

class ReducedMail : public testing::Test, protected EngineSetting {};

TEST_F(ReducedMail, TheEngineSavesOneAndTellsThatItFailed) {
  mailbox.emplace(folder.Path(), kLimit);
  EngineRun& engine = StartIn("Big\\");
  const auto insert = [&] {
    engine.NewMail({.importance = "1", .subject = "s", .key = "k"});
    engine.Work("EmlFile.Eml", LargeMail("1", kPage));
    engine.Work("a.txt", "a");
    engine.WorkWide("11comtextjjAttach.t", "a.txt\n");
    return engine.Insert();
  };
  EXPECT_EQ(insert(), 0);
  EXPECT_EQ(engine.RunStatus(),
            kTooLarge + std::string("\r\r\n") + kFailStatus + kTooLarge + "\r\r\n");
  EXPECT_FALSE(std::filesystem::exists(engine.File("Temp/EmlFile.Eml")));
  const StoredItem item = OnlyItem();
  EXPECT_EQ(item.mime, "");
  EXPECT_EQ(item.info.bodyType, "Text");
  // required without --safe: what the ANSI page lacks is lost, and lines end in CR CR LF
  EXPECT_THAT(item.info.body, testing::StartsWith("Head\r\r\n"));
  EXPECT_THAT(item.info.body, testing::Not(HasSubstr("\xE6\xBD\xAE")));
  EXPECT_EQ(item.info.importance, "High");
  EXPECT_EQ(item.attachments, (Files{{"a.txt", "a"}}));
  EXPECT_EQ(engine.Ledger(), Lines{"Big\\|k|tom@example.org"});
  EXPECT_EQ(insert(), 1);  // known
  EXPECT_EQ(Items().size(), 1U);
}

TEST_F(ReducedMail, ARunTellsWhatWasLeftOutAndALaterOneSendsNothing) {
  mailbox.emplace(folder.Path(), kLimit);
  folder.Write("source/1.eml", LargeMail("1", kPage));
  folder.Write("source/2.eml", LargeMail("2", "Content-Type: text/plain\r\n\r\ntab\tform\x0C\x01"));
  folder.Write("source/3.eml", "Subject: small\r\nMessage-ID: <3@example.com>\r\n\r\nx\r\n");
  folder.Write("source/4.eml", LargeMail("4", "Content-Type: application/zip\r\n\r\nx"));
  const Lines arguments = ServerArguments(folder, std::stoi(mailbox->Port()));
  const Result first = RunProgram("tarny", arguments, folder.Path());
  const nlohmann::json summary = SummaryOf(first, 1);
  EXPECT_EQ(summary["sent"], 4) << first.err;
  EXPECT_EQ(summary["arrived_reduced"], 3);
  EXPECT_EQ(summary["failed"], 0);
  ASSERT_EQ(summary["remarks"].size(), 3U);
  const std::string remark =
      "arrived reduced: the target takes no mail of its size; left out: plan.pdf, a b.png";
  EXPECT_EQ(summary["remarks"][0]["text"], remark);
  EXPECT_EQ(summary["remarks"][2]["text"],
            "arrived reduced, without any text: the target takes no mail of its size; left out: "
            "a nameless one (application/zip), plan.pdf, a b.png");
  EXPECT_EQ(LedgerRows(folder), 4);

  const auto found = [&](const std::string& subject) {
    for (StoredItem& item : Items()) {
      if (item.Property("tag:0x37") == subject) return item;
    }
    ADD_FAILURE() << subject;
    return StoredItem();
  };
  const StoredItem page = found("large 1");
  EXPECT_THAT(page.info.body, testing::AllOf(HasSubstr("Head\r\n"), HasSubstr("a\tb"),
                                             HasSubstr("\xE6\xBD\xAE and caf\xC3\xA9")));
  EXPECT_EQ(page.info.importance, "High");
  EXPECT_EQ(page.Property("tag:0xe06"), "2024-03-04T08:12:41Z");
  ASSERT_TRUE(page.info.from);
  EXPECT_EQ(page.info.from->name + "|" + page.info.from->address, "Ann \xC3\x84|ann@example.com");
  EXPECT_EQ(page.info.to.size(), 2U);
  // Signs stand for what no request can carry.
  EXPECT_EQ(found("large 2").info.body, "tab\tform\xE2\x90\x8C\xE2\x90\x81\r\n");

  const nlohmann::json again = SummaryOf(RunProgram("tarny", arguments, folder.Path()));
  EXPECT_EQ(again["sent"], 0);
  EXPECT_EQ(again["there_already"], 4);
  EXPECT_EQ(again["arrived_reduced"], 0);
  ASSERT_EQ(again["doubts"].size(), 3U);
  EXPECT_EQ(again["doubts"][0]["text"], remark);
  EXPECT_EQ(Items().size(), 4U);
}

// It dies when the engine saves the mail for the second time, reduced, and before it hears of it.
TEST_F(ReducedMail, ARunThatIsCutOffLeavesTheTellingToTheNext) {
  mailbox.emplace(folder.Path(), kLimit);
  folder.Write("source/1.eml", LargeMail("1", kPage));
  std::promise<pid_t> driver;
  const auto kill = [&](int number) {
    if (number == 2) ::kill(driver.get_future().get(), SIGKILL);
  };
  const test_support::FaultProxy proxy(std::stoi(mailbox->Port()), test_support::AtEachSave(kill));
  const Lines arguments = ServerArguments(folder, proxy.Port());
  Program tarny("tarny", arguments, folder.Path());
  driver.set_value(tarny.Pid());
  EXPECT_EQ(tarny.Wait().status, 128 + SIGKILL);
  const nlohmann::json next = SummaryOf(RunProgram("tarny", arguments, folder.Path()), 1);
  EXPECT_EQ(next["sent"], 0);
  EXPECT_EQ(next["arrived_reduced"], 1);
  ASSERT_EQ(next["remarks"].size(), 1U);
  EXPECT_THAT(next["remarks"][0]["text"].get<std::string>(), HasSubstr("left out: plan.pdf"));
  EXPECT_EQ(Items().size(), 1U);
  EXPECT_EQ(LedgerRows(folder), 1);
  EXPECT_EQ(SummaryOf(RunProgram("tarny", arguments, folder.Path()))["arrived_reduced"], 0);
}

// Without an id there is no row: the trace proves the save.
TEST_F(ReducedMail, PreparedItemsKeepTheFilesOfTheirList) {
  mailbox.emplace(folder.Path(), kLimit);
  std::filesystem::copy(TARNY_SOURCE "/samples/prepared", folder.File("source"),
                        std::filesystem::copy_options::recursive);
  const std::string item = "source/GroupWise/too large/";
  std::string descriptor = test_support::ReadAll(folder.File(item + "11comtextjj.t"));
  const std::string label = test_support::WideBytes(u"MessageID");
  descriptor.resize(descriptor.find(label));
  folder.Write(item + "11comtextjj.t", descriptor + test_support::WideBytes(u"\r\n"));
  // Found as the engine finds it.
  folder.Write(item + "11comtextjjAttach.t", test_support::WideBytes(u" SUMMARY.txt \r\n"));
  // A second file of that name is not the one of the list, and a picture of the page is a file.
  std::string eml = test_support::ReadAll(folder.File(item + "EmlFile.Eml"));
  const std::string part =
      "--outer\r\nContent-Disposition: attachment; filename=summary.txt\r\n\r\nx\r\n";
  eml.insert(
      eml.rfind("--outer--"),
      part + part +
          "--outer\r\nContent-Type: multipart/related; boundary=page\r\n\r\n--page\r\n"
          "Content-Type: image/png; name=a.png\r\nContent-ID: <a>\r\n\r\npng\r\n--page--\r\n");
  folder.Write(item + "EmlFile.Eml", eml);
  const Lines arguments = ServerArguments(folder, std::stoi(mailbox->Port()));
  const nlohmann::json summary = SummaryOf(RunProgram("tarny", arguments, folder.Path()), 1);
  EXPECT_EQ(summary["sent"], 6);
  ASSERT_EQ(summary["remarks"].size(), 1U);
  EXPECT_THAT(summary["remarks"][0]["text"].get<std::string>(),
              testing::EndsWith("; left out: survey.pdf, photos.zip, summary.txt, a.png"));
  EXPECT_EQ(LedgerRows(folder), 5);
  std::vector<StoredItem> items = Items();
  const auto reduced = std::ranges::find_if(items, [](const StoredItem& stored) {
    return stored.attachments == Files{{"SUMMARY.txt", "Chapter two in a page.\r\n"}};
  });
  ASSERT_NE(reduced, items.end());
  EXPECT_THAT(reduced->info.body, HasSubstr("\xE6\xBD\xAE\xE6\xB1\x90 gauge"));
  EXPECT_EQ(SummaryOf(RunProgram("tarny", arguments, folder.Path()))["there_already"], 6);
}

}  // namespace
}  // namespace system_test
