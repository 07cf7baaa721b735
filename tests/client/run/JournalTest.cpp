#include "client/run/Journal.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "client/run/LedgerLook.h"
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
