#include "platform/Sqlite.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>

#include "TempFolder.h"

namespace {

using platform::SqliteDatabase;
using platform::SqliteError;

int CodeOf(const std::function<void()>& step) {
  try {
    step();
  } catch (const SqliteError& error) {
    EXPECT_STRNE(error.what(), "");
    return error.Code();
  }
  return SQLITE_OK;
}

TEST(Sqlite, ValuesComeBackAsTheyWereBound) {
  SqliteDatabase database(":memory:");
  database.Execute("CREATE TABLE t(a, b, c, d); CREATE TABLE u(x)");
  const std::string text("nul\0 and 'quote'", 16);
  auto insert = database.Prepare("INSERT INTO t VALUES(?, ?, ?, ?)");
  insert.Bind(1, INT64_MIN).Bind(2, text).BindBlob(3, std::string_view()).BindNull(4).Run();
  EXPECT_EQ(database.Changes(), 1);
  EXPECT_EQ(database.LastInsertRowId(), 1);
  auto select = database.Prepare("SELECT *, typeof(b), typeof(c) FROM t");
  ASSERT_TRUE(select.Step());
  EXPECT_EQ(select.Int(0), INT64_MIN);
  EXPECT_EQ(select.Text(1), text);
  EXPECT_EQ(select.Blob(2), "");
  EXPECT_TRUE(select.IsNull(3));
  EXPECT_EQ(select.Text(3), "");
  EXPECT_EQ(select.Text(5), "blob");
  EXPECT_FALSE(select.Step());
  insert.Bind(2, std::string_view()).Run();  // an empty text is no NULL, and nothing stays bound
  EXPECT_TRUE(database.Prepare("SELECT 1 FROM t WHERE b = '' AND a IS NULL").Step());
}

TEST(Sqlite, TextBehindAStatementIsSeenAndNotRun) {
  SqliteDatabase database(":memory:");
  EXPECT_FALSE(database.Prepare("SELECT 1; \r\n;").HasTail());
  EXPECT_TRUE(database.Prepare("SELECT 1; DROP TABLE t").HasTail());
  EXPECT_TRUE(database.Prepare("SELECT 1;--").HasTail());
  EXPECT_TRUE(database.Prepare(std::string_view("SELECT 1\0;", 10)).HasTail());
  EXPECT_FALSE(database.Prepare("").Step());
}

TEST(Sqlite, FailuresCarryTheExtendedCode) {
  TempFolder folder;
  EXPECT_EQ(CodeOf([&] { SqliteDatabase(folder.Path("no/file.db")); }), SQLITE_CANTOPEN);
  EXPECT_EQ(
      CodeOf([&] { SqliteDatabase(folder.Path("none.db"), SqliteDatabase::Open::kReadOnly); }),
      SQLITE_CANTOPEN);
  folder.Write("junk.db", std::string(5000, 'x'));
  SqliteDatabase junk(folder.Path("junk.db"));
  EXPECT_EQ(CodeOf([&] { junk.Execute("CREATE TABLE t(a)"); }), SQLITE_NOTADB);

  SqliteDatabase database(folder.Path("good.db"));
  database.Execute("CREATE TABLE t(a UNIQUE); INSERT INTO t VALUES(1)");
  EXPECT_EQ(CodeOf([&] { database.Prepare("SELECT nothing FROM t"); }), SQLITE_ERROR);
  auto insert = database.Prepare("INSERT INTO t VALUES(?)");
  EXPECT_EQ(CodeOf([&] { insert.Bind(1, 1).Run(); }), SQLITE_CONSTRAINT_UNIQUE);
  insert.Bind(1, 2).Run();  // it can be used again
  SqliteDatabase reader(folder.Path("good.db"), SqliteDatabase::Open::kReadOnly);
  EXPECT_EQ(CodeOf([&] { reader.Execute("DELETE FROM t"); }), SQLITE_READONLY);
}

}  // namespace
