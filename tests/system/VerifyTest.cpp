#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "mailboxd/store/Store.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// What the target holds, as tarny tells and adopts it.
namespace system_test {
namespace {

using nlohmann::json;
using test_support::TemporaryFolder;
using testing::HasSubstr;

class Verify : public testing::Test {
 protected:
  std::string Mail(const std::string& id, const std::string& body) const {
    return (id.empty() ? "" : "Message-ID: " + id + "\r\n") + "Subject: s\r\n\r\n" + body;
  }
  // The check with the arguments of the migration.
  Result Check(const std::string& run = "run") const {
    std::vector<std::string> arguments = MigrateArguments(folder);
    arguments[0] = "verify";
    *(std::ranges::find(arguments, "--run") + 1) = folder.File(run);
    return RunProgram("tarny", arguments, folder.Path());
  }
  // What is found of the first folder.
  json FolderOf(const Result& result, int status) const {
    return SummaryOf(result, status)["folders"][0];
  }
  Result MigrateInto(const std::string& run, std::vector<std::string> more) const {
    std::vector<std::string> arguments = MigrateArguments(folder, more);
    *(std::ranges::find(arguments, "--run") + 1) = folder.File(run);
    return RunProgram("tarny", arguments, folder.Path());
  }
  // One item whose mail ends with that text.
  void DeleteItem(const std::string& end) const {
    mailbox::Store store(folder.File("mailbox/mailbox.db"));
    for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
      if (!item.mime.ends_with(end)) continue;
      store.DeleteItem(item.info.id);
      return;
    }
    ADD_FAILURE() << "there is none with " << end;
  }
  Contents Arrived() const { return ContentsOf(folder.File("mailbox")); }

  const TemporaryFolder folder;
};

TEST_F(Verify, NamesWhatIsMissingTwiceOfOtherSizeAndBeyond) {
  for (const char* name : {"1", "2", "3", "4"}) {
    folder.Write(std::string("source/") + name + ".eml",
                 Mail(std::string("<") + name + "@x.example>", "body"));
  }
  folder.Write("source/5.eml", Mail("<5@x.example>", std::string(1'000'000, 'x') + "\r\n"));
  folder.Write("source/6.eml", Mail("", "the same mail twice in its folder"));
  folder.Write("source/7.eml", Mail("", "the same mail twice in its folder"));
  const json first = SummaryOf(Migrate(folder));
  EXPECT_EQ(first["sent"], 6);
  EXPECT_EQ(first["equal_in_folder"], 1);
  json found = FolderOf(Check(), 0);
  EXPECT_EQ(found["items"], 7);
  EXPECT_EQ(found["there"], 7);

  {
    mailbox::Store store(folder.File("mailbox/mailbox.db"));
    for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
      const std::string& id = item.info.messageId;
      mailbox::NewItem copy;
      copy.info = item.info;
      copy.hasMime = true;
      copy.mime = item.mime;
      if (id == "<1@x.example>" || id == "<5@x.example>") store.DeleteItem(item.info.id);
      if (id == "<2@x.example>") store.CreateItem(copy);
      if (id == "<3@x.example>") {
        copy.info.messageId = "<else@x.example>";
        copy.info.subject = "not of the source";
        copy.info.properties.clear();
        store.CreateItem(copy);
      }
      if (id != "<5@x.example>") continue;
      copy.mime.resize(2000);
      store.CreateItem(copy);
    }
  }
  found = FolderOf(Check(), 1);
  const auto names = [&](const char* list) {
    std::vector<std::string> all;
    for (const json& one : found[list]) all.push_back(one["item"]);
    return all;
  };
  using Names = std::vector<std::string>;
  EXPECT_EQ(found["there"], 6);
  EXPECT_EQ(names("missing"), Names{"1.eml"});
  EXPECT_EQ(names("twice"), Names{"2.eml"});
  EXPECT_EQ(names("other_size"), Names{"5.eml"});
  EXPECT_EQ(names("beyond"), Names{"not of the source"});
}

TEST_F(Verify, TellsWhereAMissingOneMayHaveBeenMovedTo) {
  folder.Write("source/A/1.eml", Mail("<1@x.example>", "1"));
  folder.Write("source/B/2.eml", Mail("", "2"));
  folder.Write("source/C/3.eml", Mail("<3@x.example>", "3"));
  SummaryOf(Migrate(folder));
  {
    mailbox::Store store(folder.File("mailbox/mailbox.db"));
    std::map<std::string, std::int64_t> folders;
    for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
      folders[item.folder] = item.info.folder;
    }
    for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
      if (item.folder != "C") store.MoveItem(item.info.id, folders["C"]);
    }
  }
  DeleteItem("3");
  const json found = SummaryOf(Check(), 1);
  json missing;
  for (const json& one : found["folders"]) missing += one["missing"];
  EXPECT_EQ(missing, json::parse(R"([[{"item": "A/1.eml", "text": "there is one in C\\"}],
                                     [{"item": "B/2.eml", "text": "there is one in C\\"}],
                                     [{"item": "C/3.eml", "text": ""}]])"));
}

TEST_F(Verify, ANewRunFolderAdoptsWhatTheTargetHoldsAndSendsTheRest) {
  const Generated mails = WriteMails(folder, 60);
  folder.Write("source/P/1/11comtextjj.t", test_support::WideBytes(u"EMAIL\r\n"));
  folder.Write("source/P/2/11comtextjj.t", test_support::WideBytes(u"EMAIL\r\n"));
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], mails.count + 2);
  const std::size_t before = ItemsOf(folder.File("mailbox")).size();
  const std::string late = Mail("<late@x.example>", "new");
  folder.Write("source/late.eml", late);

  const json adopted = SummaryOf(MigrateInto("run2", {"--adopt"}));
  EXPECT_EQ(adopted["sent"], 1);
  EXPECT_EQ(adopted["there_already"], mails.count + 2);
  EXPECT_EQ(ItemsOf(folder.File("mailbox")).size(), before + 1);
  EXPECT_EQ(Check("run2").status, 0);
  // What was adopted is known by itself from here on, wherever its folder lies.
  std::filesystem::rename(folder.File("source/P/1"), folder.File("source/P/9"));
  EXPECT_EQ(SummaryOf(MigrateInto("run2", {}))["sent"], 0);

  std::filesystem::remove(folder.File("run2/journal.db"));
  DeleteItem("new");
  EXPECT_THAT(MigrateInto("run2", {}), FailsWith("has lost its journal"));
  EXPECT_EQ(SummaryOf(MigrateInto("run2", {"--adopt"}))["sent"], 1) << "its row proves nothing";
  EXPECT_EQ(ItemsOf(folder.File("mailbox")).size(), before + 1);
}

TEST_F(Verify, ANewRunFolderSendsNothingASecondTimeUnlessToldTo) {
  for (int i = 0; i < 30; ++i) {
    const std::string n = std::to_string(100 + i);
    folder.Write("source/" + n + ".eml", Mail("<" + n + "@x.example>", "body"));
  }
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 30);
  for (int i = 0; i < 10; ++i) {  // new ones, which are looked for first
    const std::string n = std::to_string(i);
    folder.Write("source/0" + n + ".eml", Mail("<new" + n + "@x.example>", "body"));
  }
  EXPECT_THAT(MigrateInto("run2", {}), FailsWith("--adopt"));
  EXPECT_EQ(Arrived().size(), 30u);
  EXPECT_EQ(SummaryOf(MigrateInto("run2", {"--no-adopt"}))["sent"], 40);
  EXPECT_EQ(SummaryOf(MigrateInto("run2", {}))["sent"], 0);

  // Another source's mail of the same id is none of this one's.
  std::filesystem::remove_all(folder.File("source"));
  folder.Write("source/1.eml", "X-Seen-By: b\r\n" + Mail("<100@x.example>", "body"));
  EXPECT_EQ(SummaryOf(MigrateInto("run3", {}))["sent"], 1);
}

TEST_F(Verify, ACopyOfARunFolderSendsNothingThatItDoesNotKnowASecondTime) {
  for (const char* name : {"A/cur/1:2,", "A/cur/2:2,", "A/new/3", "B/cur/1:2,"}) {
    folder.Write(std::string("source/") + name, Mail("", name));
  }
  for (const char* part : {"A/new", "A/tmp", "B/new", "B/tmp"}) {
    std::filesystem::create_directories(folder.File(std::string("source/") + part));
  }
  const std::string card =
      "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann Lee\r\nN:Lee;Ann;;;\r\nEND:VCARD\r\n";
  folder.Write("source/people.vcf", card);
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 5);
  std::filesystem::copy(folder.File("run"), folder.File("copy"),
                        std::filesystem::copy_options::recursive);
  for (int i = 0; i < 40; ++i) {
    folder.Write("source/A/new/0" + std::to_string(i), Mail("", "late" + std::to_string(i)));
  }
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 40);
  folder.Write("source/B/new/0", Mail("", "the newest"));
  EXPECT_THAT(MigrateInto("copy", {}), FailsWith("never sent them"));
  EXPECT_EQ(SummaryOf(MigrateInto("copy", {"--adopt"}))["sent"], 1);

  // What is read since, is equal or is new is no hindrance.
  std::filesystem::rename(folder.File("source/A/new/3"), folder.File("source/A/cur/3:2,S"));
  folder.Write("source/B/cur/equal:2,", Mail("", "B/cur/1:2,"));
  folder.Write("source/again.vcf", card);
  folder.Write("source/B/new/00", Mail("", "one more"));
  EXPECT_EQ(SummaryOf(MigrateInto("copy", {}))["sent"], 2);
}

TEST_F(Verify, ATargetThatWasEmptiedIsToldAndOneWhoseUserTookMailsAwayIsNot) {
  constexpr int kMails = 40;
  for (int i = 0; i < kMails; ++i) {
    const std::string n = std::to_string(i);
    folder.Write((i % 2 ? "source/A/" : "source/B/") + n + ".eml",
                 Mail(i % 4 < 2 ? "<" + n + "@x.example>" : "", "body " + n + ";"));
  }
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], kMails);
  std::filesystem::remove_all(folder.File("mailbox"));
  EXPECT_THAT(Migrate(folder), FailsWith("it was emptied, or is another one"));
  EXPECT_EQ(SummaryOf(Migrate(folder, {"--no-adopt"}))["sent"], 0);
  EXPECT_EQ(SummaryOf(Migrate(folder, {"--adopt"}))["sent"], kMails);
  EXPECT_EQ(Arrived().size(), static_cast<std::size_t>(kMails));
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 0);

  for (int i = 0; i < kMails; ++i) {
    if (i != 33) DeleteItem("body " + std::to_string(i) + ";");
  }
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 0) << "one is there";
  {
    mailbox::Store store(folder.File("mailbox/mailbox.db"));
    const StoredItem last = ItemsOf(folder.File("mailbox")).at(0);
    const auto elsewhere = store.CreateFolder(*store.Folder(last.info.folder), "Kept", "IPF.Note");
    store.MoveItem(last.info.id, elsewhere->id);
  }
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 0) << "one is below";
  DeleteItem("body 33;");
  EXPECT_THAT(Migrate(folder), FailsWith("it was emptied"));
}

TEST_F(Verify, WithoutKeysAnEmptiedTargetIsKnownByMessageIdsAlone) {
  folder.Write("source/1.eml", Mail("", "without an id"));
  EXPECT_EQ(SummaryOf(Migrate(folder, {"--as-is"}))["sent"], 1);
  EXPECT_THAT(FolderOf(Check(), 1)["missing"].dump(), HasSubstr("it may be there"));
  std::filesystem::remove_all(folder.File("mailbox"));
  EXPECT_EQ(SummaryOf(Migrate(folder, {"--as-is"}))["sent"], 0) << "nobody can tell";
  folder.Write("source/2.eml", Mail("<2@x.example>", "with one"));
  EXPECT_EQ(SummaryOf(Migrate(folder, {"--as-is"}))["sent"], 1);
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 0) << "its id stands there";
  std::filesystem::remove_all(folder.File("mailbox"));
  EXPECT_THAT(Migrate(folder, {"--as-is"}), FailsWith("2.eml"));
}

TEST_F(Verify, SourcesThatMovedGoOnWithAdoptAndOneMayBeAdded) {
  const Generated mails = WriteMails(folder, 30);
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], mails.count);
  std::filesystem::rename(folder.File("source"), folder.File("moved"));
  folder.Write("added/1.eml", Mail("<added@x.example>", "x"));
  std::vector<std::string> arguments = MigrateArguments(folder);
  arguments[1] = folder.File("moved");
  arguments.insert(arguments.begin() + 2, folder.File("added"));
  EXPECT_THAT(RunProgram("tarny", arguments, folder.Path()), FailsWith(folder.File("source")));
  arguments.push_back("--adopt");
  const json summary = SummaryOf(RunProgram("tarny", arguments, folder.Path()));
  EXPECT_EQ(summary["sent"], 1);
  EXPECT_EQ(summary["there_already"], mails.count);

  // What two sources list would be sent twice.
  std::filesystem::create_directory_symlink(folder.File("moved"), folder.File("link"));
  std::filesystem::create_directory(folder.File("moved/below"));
  for (const char* other : {"moved", "link/.", "link/below"}) {
    arguments[2] = folder.File(other);
    for (const char* command : {"migrate", "verify"}) {
      arguments[0] = command;
      const Result refused = RunProgram("tarny", arguments, folder.Path());
      EXPECT_EQ(refused.status, 2) << refused.out;
      EXPECT_THAT(refused.err, HasSubstr("the source " + folder.File("moved")));
    }
  }
}

TEST_F(Verify, ItemsWithEqualIdsAreToldApartInAnyOrder) {
  folder.Write("source/1.eml", Mail("<same@x.example>", "one"));
  SummaryOf(Migrate(folder));
  folder.Write("source/0.eml", Mail("<same@x.example>", "zero"));
  folder.Write("source/2.eml", Mail("<same@x.example>", "two"));
  EXPECT_EQ(SummaryOf(MigrateInto("run2", {"--adopt"}))["sent"], 2);
  const Contents whole = Arrived();
  EXPECT_EQ(whole.size(), 3u) << "each of them once";
  EXPECT_EQ(Check("run2").status, 0);

  DeleteItem("zero");
  EXPECT_EQ(FolderOf(Check("run2"), 1)["missing"].size(), 1u);
  EXPECT_EQ(SummaryOf(MigrateInto("run3", {"--adopt"}))["sent"], 1);
  EXPECT_TRUE(Arrived() == whole);
}

TEST_F(Verify, AnIdThatCannotBeSearchedForIsStillKnownAgain) {
  folder.Write("source/1.eml", Mail("<" + std::string(950, 'i') + "@x.example>", "long"));
  folder.Write("source/2.eml", Mail("<a\x01z@x.example>", "with a control character"));
  EXPECT_EQ(SummaryOf(MigrateInto("run", {"--as-is"}))["sent"], 2);
  EXPECT_EQ(SummaryOf(MigrateInto("run2", {"--as-is", "--adopt"}))["sent"], 0);
  EXPECT_EQ(Check().status, 0);
}

TEST_F(Verify, AMailWhoseContentChangedStandsWhereItStood) {
  folder.Write("source/1.eml", Mail("<1@x.example>", "one"));
  SummaryOf(Migrate(folder));
  folder.Write("source/1.eml", "X-Status: read\r\n" + Mail("<1@x.example>", "one"));
  EXPECT_EQ(SummaryOf(MigrateInto("run2", {"--adopt"}))["sent"], 0);
  EXPECT_EQ(Check("run2").status, 0);
}

TEST_F(Verify, FoldersThatLeadToOneInTheTargetShareWhatItHolds) {
  const std::string mail = Mail("<1@x.example>", "in both");
  folder.Write("source/Work/1.eml", mail);
  folder.Write("source/WORK/1.eml", mail);
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 2);
  const Result checked = Check();
  EXPECT_EQ(checked.status, 0) << checked.out;
  EXPECT_EQ(SummaryOf(MigrateInto("run2", {"--adopt"}))["sent"], 0);
  DeleteItem("in both");
  EXPECT_EQ(SummaryOf(Check(), 1)["complete"], false);
  EXPECT_EQ(SummaryOf(MigrateInto("run3", {"--adopt"}))["sent"], 1);
}

// Where the engine put what its own folder refused.
TEST_F(Verify, AContactInTheSecondPlaceIsThereAndInBothItIsThereTwice) {
  folder.Write("source/people.vcf",
               "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann Lee\r\nN:Lee;Ann;;;\r\nEND:VCARD\r\n");
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 1);
  mailbox::NewItem copy;
  {
    mailbox::Store store(folder.File("mailbox/mailbox.db"));
    copy.info = ItemsOf(folder.File("mailbox")).at(0).info;
    const auto contacts = store.Folder(copy.info.folder);
    store.DeleteItem(copy.info.id);
    copy.info.folder = store.CreateFolder(*contacts, "Other Contacts", "IPF.Contact")->id;
    store.CreateItem(copy);
  }
  EXPECT_EQ(FolderOf(Check(), 0)["there"], 1);
  EXPECT_EQ(SummaryOf(MigrateInto("run2", {"--adopt"}))["sent"], 0);
  {
    mailbox::Store store(folder.File("mailbox/mailbox.db"));
    store.CreateItem(copy);
  }
  const json found = FolderOf(Check(), 1);
  EXPECT_EQ(found["twice"].size(), 1u) << found;
  EXPECT_EQ(found["missing"].size(), 0u);
}

TEST_F(Verify, AFolderThatIsNoRunFolderIsNotMadeOne) {
  folder.Write("source/1.eml", Mail("<1@x.example>", "one"));
  EXPECT_THAT(Check("mistyped"), FailsWith("is not the run folder of a migration"));
  EXPECT_FALSE(std::filesystem::exists(folder.File("mistyped")));
}

// The process that serves the local mailbox of that folder.
pid_t ServerOf(const TemporaryFolder& folder) {
  const std::vector<pid_t> servers = ProcessesWhere([&](std::string_view command) {
    return command.find("mailboxd") != std::string_view::npos &&
           command.find(folder.File("mailbox")) != std::string_view::npos &&
           command.find("--until-stdin-closes") != std::string_view::npos;
  });
  return servers.empty() ? 0 : servers.front();
}

TEST_F(Verify, ALocalMailboxThatDiesIsStartedAgainAndNothingIsLostOrTwice) {
  const Generated mails = WriteMails(folder, 200);
  Program tarny("tarny", MigrateArguments(folder), folder.Path());
  constexpr int kKills = 5;
  constexpr int kBetween = 30;  // items: a server that is killed at its start is another matter
  int kills = 0;
  int next = 1;
  while (!tarny.TryWait()) {
    if (const int rows = LedgerRows(folder); kills < kKills && rows >= next) {
      const pid_t pid = ServerOf(folder);
      const bool killed = pid != 0 && ::kill(pid, SIGKILL) == 0;
      kills += killed;
      if (killed) next = rows + kBetween;
    }
    usleep(1000);
  }
  const Result result = tarny.Wait();
  EXPECT_EQ(SummaryOf(result)["failed"], 0);
  EXPECT_THAT(result.err, HasSubstr("it is started again"));
  EXPECT_EQ(kills, kKills);
  EXPECT_TRUE(Arrived() == mails.expected);
  EXPECT_EQ(Check().status, 0);
}

}  // namespace
}  // namespace system_test
