#include <tuple>
#include <vector>

#include "ews/Settings.h"
#include "target/CTarnyOutlookHandler.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/pipeline/TempRunFolder.h"

namespace {

using Row = std::tuple<std::string, std::string, std::string>;

class Ledger : public testing::Test {
 protected:
  std::vector<Row> Rows() const {
    platform::SqliteDatabase db(database);
    auto statement = db.Prepare("SELECT * FROM MAILBOXINFO ORDER BY rowid");
    std::vector<Row> rows;
    while (statement.Step()) {
      rows.emplace_back(statement.Text(0), statement.Text(1), statement.Text(2));
    }
    return rows;
  }

  SettingsKeeper settings;
  TempRunFolder folder;
  const std::string database = folder.File("SQLLiteNew.db");
};

TEST_F(Ledger, RowsAreTheSameWithAndWithoutTheSafeSwitch) {
  CTarnyOutlookHandler handler;
  handler.SetLoginId(u"u@x");
  handler.SetFolderName(u"Kid's?&quot;\\");
  handler.EnterLedgerRow(u"<1@x>");
  ews::Settings().bSafe = true;
  EXPECT_TRUE(handler.CheckIfDublicateItemPresent(u"<1@x>"));
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(u"<2@x>"));
  handler.EnterLedgerRow(u"<2@x>");
  ews::Settings().bSafe = false;
  EXPECT_TRUE(handler.CheckIfDublicateItemPresent(u"<2@x>"));
  handler.EnterLedgerRow(u"");
  const std::vector<Row> expected{{"Kid's>\"\\", "<1@x>", "u@x"}, {"Kid's>\"\\", "<2@x>", "u@x"}};
  EXPECT_EQ(Rows(), expected);
}

TEST_F(Ledger, KeyThatHoldsAStatementHarmsNothing) {
  CTarnyOutlookHandler handler;
  handler.SetLoginId(u"o'brien@x");
  handler.SetFolderName(u"F\\");
  const CString key = u"a','b','c'); DROP TABLE MAILBOXINFO;--";
  handler.EnterLedgerRow(key);
  EXPECT_TRUE(Rows().empty());
  EXPECT_TRUE(handler.CheckIfDublicateItemPresent(key));  // cannot be asked about
  ews::Settings().bSafe = true;
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(key));
  handler.EnterLedgerRow(key);
  EXPECT_TRUE(handler.CheckIfDublicateItemPresent(key));
  EXPECT_EQ(Rows().size(), 1u);
}

TEST_F(Ledger, RowIsSeenByOthersAtOnceAndComparedByCase) {
  CTarnyOutlookHandler handler;
  handler.EnterLedgerRow(u"Key");
  EXPECT_EQ(Rows().size(), 1u);
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(u"key"));
}

TEST_F(Ledger, CheckReadsOneItemsRowsAndNotALoginsAll) {
  const CTarnyOutlookHandler handler;
  platform::SqliteDatabase db(database);
  auto plan = db.Prepare(
      "EXPLAIN QUERY PLAN SELECT count(*) FROM MAILBOXINFO where FOLDERNAME = 'f' and MESSAGE_ID = "
      "'m' and TARGET = 't'");
  ASSERT_TRUE(plan.Step());
  EXPECT_THAT(plan.Text(3), testing::HasSubstr("MESSAGE_ID=? AND FOLDERNAME=? AND TARGET=?"));
}

TEST_F(Ledger, ClosedForGoodAndWithoutALogBeside) {
  CTarnyOutlookHandler handler;
  handler.EnterLedgerRow(u"k");
  handler.CloseSqlliteInstance();
  handler.CloseSqlliteInstance();
  EXPECT_FALSE(std::filesystem::exists(database + "-wal"));
  handler.EnterLedgerRow(u"l");
  EXPECT_TRUE(handler.CheckIfDublicateItemPresent(u"never seen"));
  EXPECT_EQ(Rows().size(), 1u);
}

TEST_F(Ledger, OneStatementAtATime) {
  SqlLIteHandler ledger(GetCurrLogPath() + u"other.db");
  CString result = u"unchanged";
  ledger.ExecuteQuery(u"CREATE TABLE t(a); CREATE TABLE u(a)");
  ledger.QuerySingleValue(u"SELECT count(*) FROM sqlite_master", result);
  EXPECT_EQ(result, u"0");
  ledger.QuerySingleValue(u"SELECT NULL", result);
  EXPECT_EQ(result, u"0");
  ledger.QuerySingleValue(u"SELECT missing", result);
  EXPECT_EQ(result.ToUtf8(), "no such column: missing");
}

}  // namespace
