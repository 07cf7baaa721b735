// The duplicate ledger beside SQLite alone: the check of one message id in a folder of n rows, and
// one row, which is on disk before the call returns. The peer runs the same statements on the same
// file, prepared once; the engine composes and prepares a statement for each item.

#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <fmt/format.h>

#include "ews/Settings.h"
#include "platform/Paths.h"
#include "platform/Sqlite.h"
#include "target/CTarnyOutlookHandler.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kChecks = 20'000;
constexpr int kRows = 200;
constexpr const char16_t* kFolder = u"Inbox\\";
constexpr const char16_t* kLogin = u"bench@local.example";

std::string Key(int number) { return fmt::format("<{}.4711@mail.example.com>", number); }

template <typename Step>
double MicrosecondsEach(int times, Step&& step) {
  const auto start = Clock::now();
  for (int i = 0; i < times; ++i) step(i);
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count() / times;
}

void Fill(const std::string& path, int rows) {
  platform::SqliteDatabase db(path);
  db.Execute("BEGIN");
  auto insert = db.Prepare("INSERT INTO MAILBOXINFO VALUES('Inbox\\',?,'bench@local.example')");
  for (int i = 0; i < rows; ++i) insert.Bind(1, Key(i)).Run();
  db.Execute("COMMIT");
}

// Every second id is known. Ends the program when the two answers differ.
void CompareChecks(CTarnyOutlookHandler& handler, platform::SqliteDatabase& db, int rows) {
  auto query = db.Prepare(
      "SELECT count(*) FROM MAILBOXINFO where FOLDERNAME = 'Inbox\\' and MESSAGE_ID = ? and "
      "TARGET = 'bench@local.example'");
  const auto number = [&](int i) { return i % 2 ? i % rows : rows + i; };
  const auto peer = [&](int i) {
    query.Reset();
    query.Bind(1, Key(number(i)));
    return query.Step() && query.Int(0) > 0;
  };
  const auto ours = [&](int i) {
    return handler.CheckIfDublicateItemPresent(CString::FromUtf8(Key(number(i))));
  };
  for (int i = 0; i < 1000; ++i) {
    if (ours(i) == peer(i)) continue;
    fmt::print(stderr, "the answers differ for {}\n", Key(number(i)));
    std::exit(1);
  }
  volatile bool sink = false;
  const double engine = MicrosecondsEach(kChecks, [&](int i) { sink = ours(i); });
  const double sqlite = MicrosecondsEach(kChecks, [&](int i) { sink = peer(i); });
  fmt::print("check, {:>9} rows   engine {:7.1f} us   SQLite alone {:7.1f} us   ratio {:.2f}\n",
             rows, engine, sqlite, engine / sqlite);
}

void CompareRows(CTarnyOutlookHandler& handler, const std::string& path) {
  const double engine = MicrosecondsEach(
      kRows, [&](int i) { handler.EnterLedgerRow(CString::FromUtf8("engine" + Key(i))); });
  platform::SqliteDatabase db(path);
  db.Execute("PRAGMA synchronous=FULL");
  auto insert = db.Prepare("INSERT INTO MAILBOXINFO VALUES('Inbox\\',?,'bench@local.example')");
  const double sqlite =
      MicrosecondsEach(kRows, [&](int i) { insert.Bind(1, "peer" + Key(i)).Run(); });
  fmt::print("row, on disk            engine {:7.1f} us   SQLite alone {:7.1f} us   ratio {:.2f}\n",
             engine, sqlite, engine / sqlite);
}

void Measure(int rows) {
  std::string folder = "/tmp/tarny-bench-XXXXXX";
  if (!mkdtemp(folder.data())) std::exit(1);
  platform::SetProgramFolder(folder);
  const std::string path = folder + "/SQLLiteNew.db";
  {
    CTarnyOutlookHandler handler;
    handler.SetLoginId(kLogin);
    handler.SetFolderName(kFolder);
    Fill(path, rows);
    platform::SqliteDatabase db(path);
    CompareChecks(handler, db, rows);
    CompareRows(handler, path);
    handler.CloseSqlliteInstance();
  }
  std::filesystem::remove_all(folder);
}

}  // namespace

int main() {
  for (const bool safe : {false, true}) {
    ews::Settings().bSafe = safe;
    fmt::print("{}\n", safe ? "with --safe" : "without --safe");
    for (const int rows : {1'000, 100'000, 1'000'000}) Measure(rows);
  }
}
