#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "client/run/LedgerLook.h"
#include "platform/Sqlite.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/EngineRun.h"
#include "tests/system/Programs.h"

// Prepared items, and run folders that cannot serve, through the real programs.
namespace system_test {
namespace {

using test_support::ReadAll;
using test_support::TemporaryFolder;

std::string Wide(const std::string& ascii) {
  std::string bytes;
  for (char c : ascii) bytes.append({c, '\0'});
  return bytes;
}

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

nlohmann::json Summary(const Result& result) {
  const nlohmann::json summary = nlohmann::json::parse(result.out, nullptr, false);
  EXPECT_FALSE(summary.is_discarded()) << result.err;
  return summary;
}

// What the mailbox holds, a line for each folder and item; and how many items there are.
std::string Listing(const TemporaryFolder& folder) {
  return RunProgram("tarny", {"mailbox", "ls", "--data", folder.File("mailbox"), "--items"},
                    folder.Path())
      .out;
}

int Items(const TemporaryFolder& folder) {
  const std::string listing = Listing(folder);
  return static_cast<int>(std::count(listing.begin(), listing.end(), '#'));
}

int Rows(const TemporaryFolder& folder) {
  platform::SqliteDatabase ledger(folder.File("run/SQLLiteNew.db"));
  platform::SqliteStatement query = ledger.Prepare("SELECT count(*) FROM MAILBOXINFO");
  return query.Step() ? static_cast<int>(query.Int(0)) : -1;
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
  using Files = std::vector<std::pair<std::string, std::string>>;
  const TemporaryFolder folder;
  const std::string samples = TARNY_SOURCE "/samples/prepared/";
  std::filesystem::copy(samples, folder.File("source"), std::filesystem::copy_options::recursive);
  WriteItem(folder, "cut", "EMAIL", "<cut@example.com>", "one\ntwo\tis where it stops\nthree\n");
  WriteItem(folder, "html", "EMAIL", "<html@example.com>", "");
  std::filesystem::remove(folder.File("source/html/TextFile1.txt"));
  folder.Write("source/html/GARImage.html", Wide("<p>page</p>\twhich stops"));
  const Result first = Migrate(folder);
  ASSERT_EQ(first.status, 0) << first.err;
  EXPECT_EQ(Summary(first)["sent"], 5);
  EXPECT_EQ(Rows(folder), 5);

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
       {}},
      {"Hi cut", "Inbox", "Text", "one\r\ntwo", {}},
      {"Hi html", "Inbox", "HTML", "<p>page</p>", {}}};
  const Result shown = RunProgram(
      "tarny", {"mailbox", "show", "1", "--data", folder.File("mailbox")}, folder.Path());
  EXPECT_TRUE(shown.out.starts_with("Subject: ")) << shown.out;
  const std::map<std::string, StoredItem> items = BySubject(folder);
  EXPECT_EQ(items.size(), cases.size());
  for (const Case& expected : cases) {
    const auto found = items.find(expected.subject);
    ASSERT_NE(found, items.end()) << expected.subject;
    const StoredItem& item = found->second;
    EXPECT_EQ(item.folder, expected.folder) << expected.subject;
    EXPECT_EQ(item.info.bodyType, expected.type) << expected.subject;
    EXPECT_EQ(item.info.body, expected.body) << expected.subject;
    EXPECT_EQ(item.attachments, expected.attachments) << expected.subject;
  }
  // The source is copied: it stands as it stood.
  EXPECT_FALSE(
      std::filesystem::exists(folder.File("source/Notes archive/image page/Imagech111.html")));
  EXPECT_EQ(Summary(Migrate(folder))["there_already"], 5);
}

TEST(PreparedItems, TheDescriptorsIdIsTheKeyAndAnItemWithoutOneArrivesOnceToo) {
  const TemporaryFolder folder;
  WriteItem(folder, "Team/1", "EMAIL", "<one@example.com>", "first");
  WriteItem(folder, "Team/2", "EMAIL", "<one@example.com>", "other content, same id");
  WriteItem(folder, "Team/3", "EMAIL", "", "no id");
  WriteItem(folder, "Other/4", "EMAIL", "<o'brien@example.com>", "a quote in its id");
  WriteItem(folder, "Other/5", "NONSENSE", "<five@example.com>", "no type");
  const Result result = Migrate(folder);
  EXPECT_EQ(result.status, 1);
  const nlohmann::json summary = Summary(result);
  EXPECT_EQ(summary["sent"], 3) << result.err;
  EXPECT_EQ(summary["failed"], 2) << result.err;
  EXPECT_NE(result.err.find("another item with its message id"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("names no type"), std::string::npos) << result.err;
  EXPECT_EQ(Rows(folder), 2);
  const nlohmann::json again = Summary(Migrate(folder));
  EXPECT_EQ(again["sent"], 0);
  EXPECT_EQ(again["there_already"], 3);
}

TEST(PreparedItems, TypesThatCannotBeSavedYetAreRefusedBeforeAnythingIsSent) {
  const TemporaryFolder folder;
  WriteItem(folder, "1", "EMAIL", "<one@example.com>", "x");
  WriteItem(folder, "2", "TASK", "", "x");
  const Result result = Migrate(folder);
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("2: task: not supported yet"), std::string::npos) << result.err;
  EXPECT_FALSE(std::filesystem::exists(folder.File("run")));
  EXPECT_FALSE(std::filesystem::exists(folder.File("mailbox")));
}

TEST(PreparedItems, AsIsLeavesOutEachSafeguardAndSaysWhatThatCost) {
  using Files = std::vector<std::pair<std::string, std::string>>;
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
    EXPECT_EQ(result.status, asIs ? 1 : 0) << result.err;
    const nlohmann::json summary = Summary(result);
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
  Await([&] {
    try {
      return !client::LedgerLook(folder.File("run/SQLLiteNew.db")).Counts().empty();
    } catch (const platform::SqliteError&) {
      return false;  // not there yet
    }
  });
  {
    platform::SqliteDatabase other(folder.File("run/SQLLiteNew.db"));
    other.Execute("BEGIN IMMEDIATE");
    Await([&] { return tarny.Err().find("NOT CONFIRMED") != std::string::npos; });
  }
  const Result result = tarny.Wait();
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("its ledger has no row (database is locked)"), std::string::npos)
      << result.err;
  EXPECT_EQ(Summary(result)["not_confirmed"], 1);
  EXPECT_EQ(Summary(result)["sent"], kItems - 1);
  EXPECT_EQ(Rows(folder), kItems - 1);
  const Result again = Migrate(folder);
  EXPECT_EQ(again.status, 0) << again.err;
  EXPECT_EQ(Summary(again)["sent"], 1);
  EXPECT_EQ(Items(folder), kItems + 1);  // without its row a mail that arrived is sent again
}

TEST(PreparedItems, TwentyItemsInARowWithoutProofStopTheRun) {
  const TemporaryFolder folder;
  for (int i = 10; i < 35; ++i) {
    const std::string number = std::to_string(i);
    WriteItem(folder, number, "EMAIL", "<o'brien" + number + "@example.com>", "x");
  }
  const Result result = Migrate(folder, {"--as-is"});
  EXPECT_EQ(result.status, 1);
  const nlohmann::json summary = Summary(result);
  EXPECT_EQ(summary["not_confirmed"], 20);
  EXPECT_EQ(summary["not_reached"], 5);
  EXPECT_NE(result.err.find("20 items in a row could not be confirmed"), std::string::npos)
      << result.err;
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
    EXPECT_EQ(Rows(folder), 1) << target;
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
  EXPECT_NE(ReadAll(err).find("cannot be used: its journal"), std::string::npos) << ReadAll(err);
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
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("cannot be used"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(name), std::string::npos) << result.err;
    EXPECT_EQ(Items(folder), 1);
  }
}

}  // namespace
}  // namespace system_test
