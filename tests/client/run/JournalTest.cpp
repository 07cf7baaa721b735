#include "client/run/Journal.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/run/ArrivedItems.h"
#include "client/run/LedgerLook.h"
#include "client/run/LedgerWriter.h"
#include "client/run/MailKey.h"
#include "client/run/RunFolder.h"
#include "client/run/RunIdentity.h"
#include "client/run/Target.h"
#include "pipeline/ST_EML_INFO.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using test_support::TemporaryFolder;

TEST(Journal, RemembersWhatArrivedAcrossRestarts) {
  const TemporaryFolder folder;
  const std::string path = folder.File("journal.db");
  {
    Journal journal(path);
    journal.Store({"/m/a.eml", "Inbox\\", "h1", "<a>", ItemResult::kArrived, ""});
    journal.Store({"/m/b.eml", "Inbox\\", "h2", "<b>", ItemResult::kFailed, "refused"});
    journal.Store({"/m/c\xff.eml", "Inbox\\", "h3", "<c>", ItemResult::kNotConfirmed, ""});
  }
  Journal journal(path);
  EXPECT_TRUE(journal.HasArrived("/m/a.eml", "Inbox\\", "h1"));
  EXPECT_FALSE(journal.HasArrived("/m/a.eml", "Inbox\\", "changed"));
  EXPECT_FALSE(journal.HasArrived("/m/a.eml", "Other\\", "h1"));
  EXPECT_FALSE(journal.HasArrived("/m/b.eml", "Inbox\\", "h2"));
  EXPECT_FALSE(journal.HasArrived("/m/c\xff.eml", "Inbox\\", "h3"));
  journal.Store({"/m/b.eml", "Inbox\\", "h2", "<b>", ItemResult::kArrived, ""});
  EXPECT_TRUE(journal.HasArrived("/m/b.eml", "Inbox\\", "h2"));
}

TEST(Journal, RemembersWhatIsToBeLookedForUntilSomebodyHas) {
  const TemporaryFolder folder;
  const std::string path = folder.File("journal.db");
  {
    Journal journal(path);
    for (const char* source : {"/m/a.eml", "/m/b.eml", "/m/c.eml"}) {
      const bool isLost = source == std::string("/m/b.eml");
      const JournalEntry entry = {
          source,  "Inbox\\", "h", source, isLost ? ItemResult::kFailed : ItemResult::kArrived,
          "remark"};
      journal.KeepLate({entry, "row", "<id>", 3, 1});
      journal.Store(entry);
    }
    // Wherever it lies by then, and whatever lies in its place.
    const std::string place = "/m/c.eml";
    journal.Move({place, "Inbox\\", "h", place, ItemResult::kArrived, ""}, "/m/d.eml");
    journal.Store({place, "Inbox\\", "other", "k", ItemResult::kArrived, "another's"});
    journal.EndLate({place, "Inbox\\", "h", place, ItemResult::kArrived, "it is there twice"});
    EXPECT_TRUE(journal.HasArrived(place, "Inbox\\", "other"));
    const auto twice = journal.EndedWith(ItemResult::kArrived, "twice");
    ASSERT_EQ(twice.size(), 1u);
    EXPECT_EQ(twice[0].source, "/m/d.eml");
  }
  const std::vector<Journal::LateItem> items = Journal(path).LateItems();
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].entry.source, "/m/a.eml");
  EXPECT_EQ(items[0].entry.key, "/m/a.eml");
  EXPECT_EQ(items[0].entry.text, "remark");
  EXPECT_EQ(items[0].ledgerKey + items[0].messageId, "row<id>");
  EXPECT_EQ(items[0].sent, 3u);
  EXPECT_EQ(items[0].shown, 1u);
}

// As behind a power cut: the first of two writes alone would be wrong for ever.
TEST(Journal, WhatBelongsTogetherIsWrittenAsOne) {
  const TemporaryFolder folder;
  const std::string path = folder.File("journal.db");
  Journal journal(path);
  const JournalEntry entry = {"/m/a.ics#1", "A\\", "h", "k", ItemResult::kArrived, "sent twice"};
  journal.Store(entry);
  journal.KeepLate({entry, "row", "<id>", 2, 1});
  platform::SqliteDatabase(path).Execute(
      "CREATE TRIGGER a BEFORE DELETE ON item BEGIN SELECT RAISE(ABORT, 'cut'); END;"
      "CREATE TRIGGER b BEFORE DELETE ON late BEGIN SELECT RAISE(ABORT, 'cut'); END;"
      "CREATE TRIGGER c BEFORE INSERT ON item WHEN NEW.text LIKE 'reduced%'"
      " BEGIN SELECT RAISE(ABORT, 'cut'); END;");
  EXPECT_THROW(journal.Move(entry, "/m/a.ics#2"), platform::SqliteError);
  JournalEntry told = entry;
  told.text = "it is there twice";
  EXPECT_THROW(journal.EndLate(told), platform::SqliteError);
  const JournalEntry mail = {"/m/b.eml", "A\\", "h2", "<b>", ItemResult::kArrived, "reduced"};
  const KnownMail known = {"A\\", "h2", "<b>", "<b>", "", "/m/b.eml", KnownMail::Origin::kBrought};
  EXPECT_THROW(journal.Store(mail, known), platform::SqliteError);
  EXPECT_FALSE(journal.MailOf("A\\", "h2"));
  const std::vector<JournalEntry> arrived = journal.ArrivedIn("A\\");
  ASSERT_EQ(arrived.size(), 1u);
  EXPECT_EQ(arrived[0].source + arrived[0].text, entry.source + entry.text);
}

TEST(Journal, EqualEventsAreKnownByTheirNumberWhereverTheyLieNow) {
  const TemporaryFolder folder;
  Journal journal(folder.File("journal.db"));
  const auto store = [&](const char* source, const char* hash) {
    journal.Store({source, "Calendar\\", hash, source, ItemResult::kArrived, ""});
  };
  store("/a.ics#0", "A");
  store("/a.ics#1", "B");
  store("/a.ics#2", "A");
  const KnownMail mail = {"Calendar\\", "M", "k", "k", "", "/m.eml", KnownMail::Origin::kBrought};
  journal.Store({mail.source, mail.folder, "M", "k", ItemResult::kArrived, ""}, mail);
  EXPECT_EQ(journal.ArrivedIn("Calendar\\").size(), 3u);  // mails are known otherwise
  // One more stands at the file's beginning now, and what was its end in a file of another name.
  const std::pair<const char*, const char*> lie[] = {
      {"/a.ics#0", "new"}, {"/a.ics#1", "A"}, {"/a.ics#2", "B"}, {"/b.ics#0", "A"}};
  Plan plan;
  plan.entries.Begin(nullptr, 0);
  for (const auto& [location, hash] : lie) {
    plan.entries.Add({.location = location, .folder = "Calendar\\", .type = TYPE_CALENDER});
  }
  const auto taken = [&](ArrivedItems& arrived, std::size_t at, const char* hash) {
    return arrived.Take(plan.entries[at], hash);
  };
  {
    ArrivedItems stopped(journal, plan);  // behind the new one, before the others had their turn
    EXPECT_FALSE(taken(stopped, 0, "new"));
    stopped.MakeRoom(plan.entries[0]);
    store(lie[0].first, lie[0].second);
  }
  for (int run = 0; run < 2; ++run) {
    ArrivedItems arrived(journal, plan);
    for (std::size_t i = 0; i < std::size(lie); ++i) {
      EXPECT_TRUE(taken(arrived, i, lie[i].second)) << lie[i].first;
    }
    EXPECT_FALSE(taken(arrived, 3, "A"));  // a third is another event
  }
}

TEST(Journal, AnEarlierVersionHasTheIdOfWhatTheSourceHoldsOtherwiseNow) {
  const TemporaryFolder folder;
  Journal journal(folder.File("journal.db"));
  const auto store = [&](const char* source, const std::string& key, const char* hash) {
    journal.Store({source, "Calendar\\", hash, key, ItemResult::kArrived, ""});
  };
  store("/a.ics#1", ContentKey("u1", "A"), "A");
  store("/gone.ics#1", ContentKey("u1", "B"), "B");
  store("/b.ics#1", ContentKey("u1", "C"), "C");  // lies there still
  store("/a.ics#2", MadeKey("D"), "D");
  Plan plan;
  plan.entries.Begin(nullptr, 0);
  for (const char* location : {"/a.ics#1", "/a.ics#2", "/b.ics#1"}) {
    plan.entries.Add({.location = location, .folder = "Calendar\\", .type = TYPE_CALENDER});
  }
  const ArrivedItems arrived(journal, plan);
  const auto earlier = [&](std::size_t entry, const std::string& id, const std::string& hash) {
    LoadedItem item;
    item.hash = hash;
    item.key = id.empty() ? MadeKey(hash) : ContentKey(id, hash);
    return arrived.EarlierVersions(plan.entries[entry], item);
  };
  EXPECT_THAT(earlier(0, "u1", "E"), testing::UnorderedElementsAre("u1 sha256:A", "u1 sha256:B"));
  EXPECT_THAT(earlier(0, "u1", "A"), testing::ElementsAre("u1 sha256:B"));
  EXPECT_TRUE(earlier(0, "u2", "E").empty());
  EXPECT_TRUE(earlier(1, "", "E").empty());
}

TEST(Journal, TheFirstContentOfAFolderKeepsThePlainKey) {
  const TemporaryFolder folder;
  const std::string path = folder.File("journal.db");
  EXPECT_EQ(Journal(path).ClaimKey("A\\", "<id>", "h1"), "<id>");
  Journal journal(path);
  EXPECT_EQ(journal.ClaimKey("A\\", "<id>", "h2"), "<id> sha256:h2");
  EXPECT_EQ(journal.ClaimKey("A\\", "<id>", "h1"), "<id>");
  EXPECT_EQ(journal.ClaimKey("B\\", "<id>", "h2"), "<id>");
  EXPECT_EQ(journal.ClaimKey("A\\", "<id>", "h2"), "<id> sha256:h2");
}

TEST(Journal, AnIdThatImitatesAnAppendedKeyHidesNoOtherMail) {
  const TemporaryFolder folder;
  Journal journal(folder.File("journal.db"));
  EXPECT_EQ(journal.ClaimKey("A\\", "<id>", "h1"), "<id>");
  EXPECT_EQ(journal.ClaimKey("A\\", "<id> sha256:h2", "h3"), "<id> sha256:h2");
  const std::string key = journal.ClaimKey("A\\", "<id>", "h2");
  EXPECT_NE(key, "<id>");
  EXPECT_NE(key, "<id> sha256:h2");
}

TEST(Journal, AnItemThatWasBegunStaysOpenUntilItsFateIsKnown) {
  const TemporaryFolder folder;
  const std::string path = folder.File("journal.db");
  const auto store = [&](ItemResult result) {
    Journal(path).Store({"/m/a.eml", "Inbox\\", "h1", "<a>", result, ""});
    return Journal(path).OpenFor("Inbox\\", "<a>").has_value();
  };
  EXPECT_TRUE(Journal(path).IsNew());
  for (int tries = 1; tries <= 2; ++tries) {
    Journal(path).Begin("Inbox\\", "<a>");
    const auto open = Journal(path).OpenFor("Inbox\\", "<a>");
    ASSERT_TRUE(open);
    EXPECT_EQ(open->tries, tries);
    EXPECT_GE(open->since.count(), 0);
    EXPECT_LT(open->since.count(), 60);
  }
  EXPECT_FALSE(Journal(path).IsNew());
  EXPECT_FALSE(Journal(path).OpenFor("Other\\", "<a>"));
  EXPECT_TRUE(store(ItemResult::kNotConfirmed));
  EXPECT_TRUE(store(ItemResult::kUnknown));
  EXPECT_TRUE(store(ItemResult::kIncomplete));
  EXPECT_TRUE(Journal(path).IsIncomplete("Inbox\\", "<a>"));
  EXPECT_FALSE(store(ItemResult::kFailed));
  EXPECT_FALSE(Journal(path).IsIncomplete("Inbox\\", "<a>"));
  Journal(path).Begin("Inbox\\", "<a>");
  EXPECT_EQ(Journal(path).OpenFor("Inbox\\", "<a>")->tries, 1) << "what was known is over";
  EXPECT_FALSE(store(ItemResult::kArrived));
  Journal(path).Begin("Inbox\\", "<late>");
  Journal(path).Begin("Inbox\\", "<b>");
  Journal(path).Begin("Inbox\\", "<late>");
  EXPECT_EQ(Journal(path).LastBegun(), (Journal::ItemName{"Inbox\\", "<late>"}));
}

TEST(Journal, TheAgeOfADoubtIsThatOfAClockThatNobodySets) {
  const TemporaryFolder folder;
  const std::string path = folder.File("journal.db");
  const auto ageAfter = [&](const std::string& change) {
    Journal(path).Begin("Inbox\\", "<a>");
    platform::SqliteDatabase(path).Execute("UPDATE begun SET " + change);
    return Journal(path).OpenFor("Inbox\\", "<a>")->since.count();
  };
  EXPECT_LT(ageAfter("time = datetime('now', '-1 hour')"), 60);
  EXPECT_GE(ageAfter("time = datetime('now', '+1 hour'), since_boot = since_boot - 700"), 700);
  EXPECT_EQ(ageAfter("since_boot = since_boot - 700, boot = 'another'"), 0) << "nobody can tell";
}

TEST(Journal, WhatCannotBeReadNowHasArrivedAllTheSame) {
  const TemporaryFolder folder;
  Journal journal(folder.File("journal.db"));
  journal.Store({"/m/a.eml", "A\\", "h1", "<a>", ItemResult::kArrived, ""});
  journal.StoreUnread({"/m/a.eml", "A\\", "", "", ItemResult::kFailed, "a link"});
  journal.StoreUnread({"/m/b.eml", "A\\", "", "", ItemResult::kFailed, "a link"});
  EXPECT_TRUE(journal.HasArrived("/m/a.eml", "A\\", "h1"));
  EXPECT_EQ(journal.EndedWith(ItemResult::kFailed, "a link").size(), 1u);
}

TEST(Journal, OneOfAnEarlierVersionIsReadAndGoesOn) {
  const TemporaryFolder folder;
  const std::string path = folder.File("journal.db");
  platform::SqliteDatabase(path).Execute(
      "CREATE TABLE property (name TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;"
      "CREATE TABLE item (source TEXT PRIMARY KEY, folder TEXT NOT NULL, hash TEXT NOT NULL,"
      " key TEXT NOT NULL, result INTEGER NOT NULL, text TEXT NOT NULL) WITHOUT ROWID;"
      "CREATE TABLE claim (folder TEXT NOT NULL, key TEXT NOT NULL, hash TEXT NOT NULL,"
      " PRIMARY KEY (folder, key)) WITHOUT ROWID;"
      "CREATE TABLE begun (folder TEXT NOT NULL, key TEXT NOT NULL, time TEXT NOT NULL,"
      " PRIMARY KEY (folder, key)) WITHOUT ROWID;"
      "INSERT INTO begun VALUES ('Inbox\\', '<b>', '2024-03-04 05:06:07');"
      "INSERT INTO item VALUES ('/m/a.eml', 'Inbox\\', 'h1', '<a>', 1, '')");
  Journal journal(path);
  EXPECT_TRUE(journal.HasArrived("/m/a.eml", "Inbox\\", "h1"));
  EXPECT_EQ(journal.OpenFor("Inbox\\", "<b>")->since.count(), 0) << "it may be of any boot";
  journal.Begin("Inbox\\", "<b>");
  EXPECT_EQ(journal.OpenFor("Inbox\\", "<b>")->tries, 2);
  journal.Store({"/m/b.eml", "Inbox\\", "h2", "<b>", ItemResult::kArrived, "may be there twice"});
  EXPECT_FALSE(journal.OpenFor("Inbox\\", "<b>"));
  const auto doubts = journal.EndedWith(ItemResult::kArrived, "be there twice");
  ASSERT_EQ(doubts.size(), 1u);
  EXPECT_EQ(doubts[0].source, "/m/b.eml");
}

TEST(RunIdentity, TheListOfSourcesMayGrowAndWhatIsMissingIsNamed) {
  const TemporaryFolder folder;
  const RunFolder run(folder.File("run"));
  Journal journal(run.File("journal.db"));
  Target target;
  target.user = "ann@example.com";
  const auto problem = [&](std::vector<std::string> sources, bool adopt = false) -> std::string {
    try {
      RequireSameRun(journal, IdentityOf(std::move(sources), target), run, adopt);
      return {};
    } catch (const RunError& error) {
      return error.what();
    }
  };
  EXPECT_EQ(problem({"/b\xff"}), "");
  KeepIdentity(journal, IdentityOf({"/b\xff", "/a"}, target), false);
  EXPECT_EQ(problem({"/c", "/a", "/b\xff"}), "");
  EXPECT_NE(problem({"/b\xff", "/c"}).find("the source /a,"), std::string::npos);
  EXPECT_EQ(problem({"/c"}, /*adopt=*/true), "");
  KeepIdentity(journal, IdentityOf({"/c"}, target), true);
  EXPECT_NE(problem({"/c"}).find("--adopt"), std::string::npos) << "what was not adopted is sent";
  EXPECT_EQ(problem({"/c"}, /*adopt=*/true), "");
  EndAdoption(journal);
  EXPECT_EQ(problem({"/c"}), "");
  target.address = "https://b.example.com/EWS/Exchange.asmx";
  target.user = "Ann@example.com";
  EXPECT_NE(problem({"/c"}).find("another target"), std::string::npos);
  EXPECT_NE(RequireSameMailbox(journal, target, run), "") << "to look at, it is the same mailbox";
  target.kind = "archive";
  EXPECT_THROW(RequireSameMailbox(journal, target, run), RunError);
  target.kind = "mailbox";
  target.address = "local:/b";
  EXPECT_THROW(RequireSameMailbox(journal, target, run), RunError);
  target.user = "bob@example.com";
  EXPECT_NE(problem({"/a", "/b\xff"}, /*adopt=*/true).find("another target"), std::string::npos);
}

TEST(LedgerWriter, EntersWhatTheLookAndTheEngineFind) {
  const TemporaryFolder folder;
  const std::string path = folder.File(std::string(kLedgerName));
  LedgerWriter rows(path);
  rows.Enter("What?\\a&quot;b'c\\", "<o'id>", "me@example.com");
  LedgerLook look(path);
  EXPECT_TRUE(look.HasRow("What?\\a&quot;b'c\\", "<o'id>", "me@example.com"));
  for (const char* key : {"<id>", "<id> sha256:a", "<id> sha256:b", "<id> more", "<idx>"}) {
    rows.Enter("A\\", key, "me@example.com");
  }
  rows.Enter("B\\", "<id>", "me@example.com");
  EXPECT_EQ(look.RowsOfId("A\\", "<id>", "", "me@example.com"), 3u);
  EXPECT_EQ(look.RowsOfId("A\\", "<id>", "<id> sha256:a", "me@example.com"), 2u);
  EXPECT_EQ(look.RowsOfId("A\\", "<id>", "", "you@example.com"), 0u);
}

TEST(LedgerLook, FindsRowsUnderTheFolderThatTheEngineWrites) {
  const TemporaryFolder folder;
  const std::string path = folder.File(std::string(kLedgerName));
  LedgerLook look(path);
  EXPECT_FALSE(look.HasRow("A\\", "<id>", "me@example.com"));  // no ledger yet
  platform::SqliteDatabase ledger(path);
  ledger.Execute(
      "PRAGMA journal_mode=WAL;"
      "CREATE TABLE MAILBOXINFO ( FOLDERNAME TEXT, MESSAGE_ID TEXT NOT NULL, TARGET TEXT"
      " );"
      "INSERT INTO MAILBOXINFO VALUES('What>\\a\"b''c\\','<id>','me@example.com')");
  EXPECT_TRUE(look.HasRow("What?\\a&quot;b'c\\", "<id>", "me@example.com"));
  EXPECT_FALSE(look.HasRow("What?\\a&quot;b'c\\", "<ID>", "me@example.com"));
  EXPECT_FALSE(look.HasRow("What?\\a&quot;b'c\\", "<id>", "you@example.com"));
  EXPECT_FALSE(look.HasRow("What?\\", "<id>", "me@example.com"));
  ledger.Execute("INSERT INTO MAILBOXINFO VALUES('B\\','<id>','me@example.com')");
  EXPECT_TRUE(look.HasRow("B\\", "<id>", "me@example.com"));
}

TEST(LedgerLook, TheProblemOfALedgerIsNamed) {
  const TemporaryFolder folder;
  EXPECT_EQ(LedgerLook(folder.File("none.db")).Problem(), "");
  const std::string damaged = folder.Write("damaged.db", std::string(5000, 'x'));
  EXPECT_FALSE(LedgerLook(damaged).HasRow("A\\", "<id>", "me"));  // proves nothing
  EXPECT_NE(LedgerLook(damaged).Problem().find("not a database"), std::string::npos);
  EXPECT_EQ(test_support::ReadAll(damaged), std::string(5000, 'x'));
  std::filesystem::create_directory(folder.File("folder.db"));
  EXPECT_EQ(LedgerLook(folder.File("folder.db")).Problem(), "it is no regular file");
  platform::SqliteDatabase other(folder.File("locked.db"));
  other.Execute("CREATE TABLE t (x); BEGIN IMMEDIATE");
  EXPECT_NE(LedgerLook(folder.File("locked.db")).Problem().find("locked"), std::string::npos);
}

}  // namespace
}  // namespace client
