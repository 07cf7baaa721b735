#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/Sqlite.h"
#include "tests/client/WideText.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/EngineRun.h"
#include "tests/system/Programs.h"

// Prepared items, and run folders that cannot serve, through the real programs.
namespace system_test {
namespace {

using client_test::Wide;
using test_support::ReadAll;
using test_support::TemporaryFolder;
using testing::HasSubstr;
using Files = std::vector<std::pair<std::string, std::string>>;

void WriteItem(const TemporaryFolder& folder, const std::string& place, const std::string& type,
               const std::string& id, const std::string& body) {
  const std::string item = "source/" + place;
  folder.Write(item + "/TextFile1.txt", Wide(body));
  folder.Write(item + "/11comtextjj.t",
               Wide(type +
                    "\r\n2\nCreation Date : 2024-02-29 10:00:00\r\n\r\nFrom : a@example.com\r\n"
                    "To : b@example.com\r\n\r\n\r\nSubject : Hi " +
                    place + "\r\nMessageID : " + id + "\r\n"));
}

// How many items the mailbox lists.
int Items(const TemporaryFolder& folder) {
  const std::vector<std::string> list = {"mailbox", "ls", "--data", folder.File("mailbox"),
                                         "--items"};
  return static_cast<int>(std::ranges::count(RunProgram("tarny", list, folder.Path()).out, '#'));
}

// The items of a mailbox by their subject.
std::map<std::string, StoredItem> BySubject(const TemporaryFolder& folder) {
  std::map<std::string, StoredItem> items;
  for (StoredItem& item : ItemsOf(folder.File("mailbox"))) {
    const std::string subject = item.Property("tag:0x37");
    EXPECT_TRUE(items.emplace(subject, std::move(item)).second) << subject << " came twice";
  }
  return items;
}

TEST(PreparedItems, EachBodyArrivesOnceAsItWasPrepared) {
  const TemporaryFolder folder;
  const std::string samples = TARNY_SOURCE "/samples/prepared/";
  std::filesystem::copy(samples, folder.File("source"), std::filesystem::copy_options::recursive);
  ASSERT_EQ(SummaryOf(Migrate(folder))["sent"], 3);
  EXPECT_EQ(LedgerRows(folder), 3);

  const std::string archive = samples + "Notes archive/";
  struct Case {
    std::string subject;
    std::string folder;
    std::string type;
    std::string body;
    Files attachments;
  };
  const std::vector<Case> cases = {
      {"Leap day: tide table \u2014 Gezeiten, \u043f\u0440\u0438\u043b\u0438\u0432\u044b, "
       "\u6f6e\u6c50",
       "Notes archive",
       "Text",
       "Tom, Priya,\r\n\r\nthe tide table is attached. High water at 06:12, in Greek: "
       "\u03c0\u03b1\u03bb\u03af\u03c1\u03c1\u03bf\u03b9\u03b1.\r\n\r\nIngrid\r\n",
       {{"tides.csv", ReadAll(archive + "text body/tides.csv")},
        {"Gru\u00df.txt", ReadAll(archive + "text body/Gru\u00df.txt")}}},
      {"The new light, as a page",
       "Notes archive",
       "HTML",
       "<html><head></head><body><img src=\"light.png\" height=\"946\" width=\"1353\" "
       "border= \"0\"></body></html>",
       {{"light.png", ReadAll(archive + "image page/light.png")}}},
      {"Only an HTML page was left",
       "GroupWise",
       "HTML",
       ReadAll(samples + "GroupWise/last resort HTML/GARImage.html"),
       {}}};
  const Result shown = RunProgram(
      "tarny", {"mailbox", "show", "1", "--data", folder.File("mailbox")}, folder.Path());
  EXPECT_THAT(shown.out, testing::StartsWith("Subject: "));
  const std::map<std::string, StoredItem> items = BySubject(folder);
  EXPECT_EQ(items.size(), cases.size());
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.subject);
    ASSERT_TRUE(items.contains(expected.subject));
    const StoredItem& item = items.at(expected.subject);
    EXPECT_EQ(item.folder, expected.folder);
    EXPECT_EQ(item.info.bodyType, expected.type);
    EXPECT_EQ(item.info.body, expected.body);
    EXPECT_EQ(item.attachments, expected.attachments);
  }
  // The source is copied: it stands as it stood.
  EXPECT_FALSE(
      std::filesystem::exists(folder.File("source/Notes archive/image page/Imagech111.html")));
  EXPECT_EQ(SummaryOf(Migrate(folder))["there_already"], 3);
}

TEST(PreparedItems, TheDescriptorsIdIsTheKeyAndAnItemWithoutOneArrivesOnceToo) {
  const TemporaryFolder folder;
  WriteItem(folder, "Team/1", "EMAIL", "<one@example.com>", "first");
  WriteItem(folder, "Team/2", "EMAIL", "<one@example.com>", "other content, same id");
  WriteItem(folder, "Team/3", "EMAIL", "", "no id");
  WriteItem(folder, "Other/4", "EMAIL", "<o'brien@example.com>", "a quote in its id");
  WriteItem(folder, "Other/5", "NONSENSE", "<five@example.com>", "no type");
  const Result result = Migrate(folder);
  const nlohmann::json summary = SummaryOf(result, 1);
  EXPECT_EQ(summary["sent"], 3) << result.err;
  EXPECT_EQ(summary["failed"], 2) << result.err;
  EXPECT_THAT(result.err, HasSubstr("another item with its message id"));
  EXPECT_THAT(result.err, HasSubstr("names no type"));
  EXPECT_EQ(LedgerRows(folder), 2);
  const nlohmann::json again = SummaryOf(Migrate(folder), 1);
  EXPECT_EQ(again["sent"], 0);
  EXPECT_EQ(again["there_already"], 3);
}

TEST(PreparedItems, AsIsLeavesOutEachSafeguardAndSaysWhatThatCost) {
  for (const bool asIs : {false, true}) {
    const TemporaryFolder folder;
    folder.Write("outside.txt", "not of this item");
    WriteItem(folder, "list", "EMAIL", "<list@example.com>", "x");
    folder.Write("source/list/in.txt", "in");
    folder.Write("source/list/11comtextjjAttach.t", Wide("..\\..\\outside.txt\r\nin.txt\r\n"));
    WriteItem(folder, "quote", "EMAIL", "<o'brien@example.com>", "x");
    // Ten folders that hold its name hide one from the first look.
    for (char c = 'A'; c <= 'K'; ++c) {
      WriteItem(folder, std::string(1, c) + " report/1", "EMAIL", std::string("<") + c + "@x>",
                "x");
    }
    WriteItem(folder, "Report/1", "EMAIL", "<first@example.com>", "x");
    WriteItem(folder, "report/2", "EMAIL", "<second@example.com>", "x");

    const Result result =
        Migrate(folder, asIs ? std::vector<std::string>{"--as-is"} : std::vector<std::string>{});
    const nlohmann::json summary = SummaryOf(result, asIs ? 1 : 0);
    EXPECT_EQ(summary["sent"], asIs ? 13 : 15) << result.err;
    EXPECT_EQ(summary["not_confirmed"], asIs ? 1 : 0) << result.err;
    EXPECT_EQ(summary["failed"], asIs ? 1 : 0) << result.err;
    EXPECT_EQ(result.err.find("with --as-is a quote") != std::string::npos, asIs) << result.err;
    const std::map<std::string, StoredItem> items = BySubject(folder);
    EXPECT_EQ(items.contains("Hi report/2"), !asIs);
    ASSERT_TRUE(items.contains("Hi list"));
    const StoredItem& list = items.at("Hi list");
    EXPECT_EQ(list.info.received.substr(0, 10), asIs ? "2024-02-28" : "2024-02-29");
    EXPECT_EQ(list.attachments, (asIs ? Files{{"outside.txt", "not of this item"}, {"in.txt", "in"}}
                                      : Files{{"in.txt", "in"}}));
  }
}

TEST(PreparedItems, ALedgerLockedInTheMiddleIsToldForTheItemThatLostItsRow) {
  constexpr int kItems = 150;
  const TemporaryFolder folder;
  for (int i = 0; i < kItems; ++i) {
    const std::string number = std::to_string(i);
    WriteItem(folder, number, "EMAIL", "<" + number + "@example.com>", "x");
  }
  Program tarny("tarny", MigrateArguments(folder), folder.Path());
  const auto Await = [&](const std::function<bool()>& condition) {
    while (!condition() && !tarny.TryWait()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  };
  Await([&] { return LedgerRows(folder) > 0; });
  {
    platform::SqliteDatabase other(folder.File("run/SQLLiteNew.db"));
    other.Execute("BEGIN IMMEDIATE");
    Await([&] { return tarny.Err().find("NOT CONFIRMED") != std::string::npos; });
  }
  const Result result = tarny.Wait();
  EXPECT_THAT(result, FailsWith("its ledger has no row (database is locked)"));
  EXPECT_EQ(SummaryOf(result, 1)["not_confirmed"], 1);
  EXPECT_EQ(SummaryOf(result, 1)["sent"], kItems - 1);
  EXPECT_EQ(LedgerRows(folder), kItems - 1);
  const nlohmann::json again = SummaryOf(Migrate(folder));
  EXPECT_EQ(again["sent"], 0);
  ASSERT_EQ(again["remarks"].size(), 1u);
  EXPECT_THAT(again["remarks"][0]["text"].get<std::string>(),
              HasSubstr("an earlier run could not tell"));
  EXPECT_EQ(Items(folder), kItems);
  EXPECT_EQ(LedgerRows(folder), kItems);
}

TEST(PreparedItems, TwentyItemsInARowWithoutProofStopTheRun) {
  const TemporaryFolder folder;
  for (int i = 10; i < 35; ++i) {
    const std::string number = std::to_string(i);
    WriteItem(folder, number, "EMAIL", "<o'brien" + number + "@example.com>", "x");
  }
  const Result result = Migrate(folder, {"--as-is"});
  EXPECT_THAT(result, FailsWith("20 items in a row could not be confirmed"));
  EXPECT_EQ(SummaryOf(result, 1)["not_confirmed"], 20);
  EXPECT_EQ(SummaryOf(result, 1)["not_reached"], 5);
}

TEST(Targets, EachGetsItsFoldersBelowARootOfItsOwn) {
  const std::vector<std::pair<std::string, std::string>> places = {
      {"mailbox", "Team"}, {"archive", "Archive/Team"}, {"public", "Team"}, {"group", "Inbox"}};
  for (const auto& [target, place] : places) {
    const TemporaryFolder folder;
    const std::string mail = "Message-ID: <1@example.com>\r\nSubject: x\r\n\r\nx\r\n";
    folder.Write("source/Team/1.eml", mail);
    const Result result = Migrate(folder, {"--target", target, "--mailbox", "team@example.com"});
    EXPECT_EQ(result.status, 0) << target << ": " << result.err;
    EXPECT_TRUE(ContentsOf(folder.File("mailbox")) == (Contents{{{place, mail}, 1}})) << target;
    EXPECT_EQ(LedgerRows(folder), 1) << target;
  }
}

TEST(TarnyItem, ShowsADescriptorAsJson) {
  const TemporaryFolder folder;
  WriteItem(folder, "1", "EMAIL", "<one@example.com>", "x");
  const Result shown = RunProgram("tarny", {"item", folder.File("source/1")}, folder.Path());
  ASSERT_EQ(shown.status, 0) << shown.err;
  const nlohmann::json item = nlohmann::json::parse(shown.out);
  EXPECT_EQ(item["type"], "mail");
  EXPECT_EQ(item["created"], "2024-02-29T10:00:00");
  EXPECT_EQ(item["message_id"], "<one@example.com>");
  EXPECT_EQ(item["files"].size(), 2u);
  EXPECT_EQ(RunProgram("tarny", {"item", folder.File("source")}, folder.Path()).status, 1);
  EXPECT_EQ(RunProgram("tarny", {"item"}, folder.Path()).status, 2);
}

TEST(RunFolder, ADiskThatTakesNoMoreIsToldBeforeAnythingIsSent) {
  const TemporaryFolder folder;
  WriteItem(folder, "1", "EMAIL", "<one@example.com>", "x");
  // A file may not grow beyond half a kilobyte: to the programs, a disk that is full.
  const std::string err = folder.File("err");
  const std::string command = "trap '' XFSZ; ulimit -f 1; exec " TARNY_BIN "/tarny migrate " +
                              folder.File("source") + " --to local:" + folder.File("mailbox") +
                              " --run " + folder.File("run") + " 2> " + err;
  EXPECT_NE(std::system(command.c_str()), 0);
  EXPECT_THAT(ReadAll(err), HasSubstr("cannot be used: its journal"));
  EXPECT_FALSE(std::filesystem::exists(folder.File("mailbox/mailbox.db")));
}

TEST(RunFolder, ADamagedLedgerOrJournalIsToldBeforeAnythingIsSent) {
  for (const char* name : {"SQLLiteNew.db", "journal.db"}) {
    const TemporaryFolder folder;
    WriteItem(folder, "1", "EMAIL", "<one@example.com>", "x");
    ASSERT_EQ(Migrate(folder).status, 0);
    folder.Write("run/" + std::string(name), std::string(8192, 'x'));
    WriteItem(folder, "2", "EMAIL", "<two@example.com>", "x");
    const Result result = Migrate(folder);
    EXPECT_THAT(result, FailsWith("cannot be used"));
    EXPECT_THAT(result.err, HasSubstr(name));
    EXPECT_EQ(Items(folder), 1);
  }
}

}  // namespace
}  // namespace system_test
