#include "client/run/Journal.h"

#include <array>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

#include "client/run/BootClock.h"
#include "client/run/MailKey.h"

namespace client {
namespace {

constexpr std::string_view kSchema =
    "CREATE TABLE IF NOT EXISTS property (name TEXT PRIMARY KEY, value TEXT NOT NULL)"
    " WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS item (source TEXT PRIMARY KEY, folder TEXT NOT NULL,"
    " hash TEXT NOT NULL, key TEXT NOT NULL, result INTEGER NOT NULL, text TEXT NOT NULL)"
    " WITHOUT ROWID;"
    "CREATE INDEX IF NOT EXISTS item_by_key ON item (folder, key);"
    "CREATE TABLE IF NOT EXISTS claim (folder TEXT NOT NULL, key TEXT NOT NULL,"
    " hash TEXT NOT NULL, PRIMARY KEY (folder, key)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS begun (folder TEXT NOT NULL, key TEXT NOT NULL,"
    " time TEXT NOT NULL, tries INTEGER NOT NULL DEFAULT 1, boot TEXT NOT NULL DEFAULT '',"
    " since_boot INTEGER NOT NULL DEFAULT 0, PRIMARY KEY (folder, key)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS mail (folder TEXT NOT NULL, hash TEXT NOT NULL, key TEXT NOT NULL,"
    " ledger_key TEXT NOT NULL, state TEXT NOT NULL, source TEXT NOT NULL, origin INTEGER NOT NULL,"
    " PRIMARY KEY (folder, hash)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS folder_kind (folder TEXT PRIMARY KEY, kind INTEGER NOT NULL)"
    " WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS holder (path TEXT NOT NULL, part TEXT NOT NULL,"
    " type INTEGER NOT NULL, folder TEXT NOT NULL, PRIMARY KEY (path, part, type)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS late (folder TEXT NOT NULL, key TEXT NOT NULL,"
    " ledger_key TEXT NOT NULL, message_id TEXT NOT NULL, sent INTEGER NOT NULL,"
    " shown INTEGER NOT NULL, PRIMARY KEY (folder, key)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS last_begun (folder TEXT NOT NULL, key TEXT NOT NULL);"
    "CREATE TRIGGER IF NOT EXISTS item_begun AFTER INSERT ON begun"
    " BEGIN DELETE FROM last_begun; INSERT INTO last_begun VALUES (NEW.folder, NEW.key); END;"
    "CREATE TRIGGER IF NOT EXISTS item_begun_again AFTER UPDATE ON begun"
    " BEGIN DELETE FROM last_begun; INSERT INTO last_begun VALUES (NEW.folder, NEW.key); END;"
    // A trigger, so that an item's result and the end of its doubt are one write to the disk.
    "CREATE TRIGGER IF NOT EXISTS item_settled AFTER INSERT ON item WHEN NEW.result IN (0, 1)"
    " BEGIN DELETE FROM begun WHERE folder = NEW.folder AND key = NEW.key; END;";

static_assert(static_cast<int>(ItemResult::kFailed) == 0 &&
              static_cast<int>(ItemResult::kArrived) == 1);  // in the trigger

// Of `begun`, that journals of earlier versions do not have.
constexpr std::array kLaterColumns = {
    std::pair("tries", "tries INTEGER NOT NULL DEFAULT 1"),
    std::pair("boot", "boot TEXT NOT NULL DEFAULT ''"),
    std::pair("since_boot", "since_boot INTEGER NOT NULL DEFAULT 0"),
};

platform::SqliteStatement InsertOf(platform::SqliteDatabase& database, const JournalEntry& entry) {
  platform::SqliteStatement insert =
      database.Prepare("INSERT OR REPLACE INTO item VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
  insert.Bind(1, entry.source).Bind(2, entry.folder).Bind(3, entry.hash).Bind(4, entry.key);
  insert.Bind(5, static_cast<std::int64_t>(entry.result)).Bind(6, entry.text);
  return insert;
}

// Each of the columns of its table, in their order.
JournalEntry EntryIn(const platform::SqliteStatement& row) {
  return {std::string(row.Text(0)),
          std::string(row.Text(1)),
          std::string(row.Text(2)),
          std::string(row.Text(3)),
          static_cast<ItemResult>(row.Int(4)),
          std::string(row.Text(5))};
}

KnownMail MailIn(const platform::SqliteStatement& row) {
  return {std::string(row.Text(0)),
          std::string(row.Text(1)),
          std::string(row.Text(2)),
          std::string(row.Text(3)),
          std::string(row.Text(4)),
          std::string(row.Text(5)),
          static_cast<KnownMail::Origin>(row.Int(6))};
}

// What is written while it lives is one write, and none at all where it is not committed.
class Transaction {
 public:
  explicit Transaction(platform::SqliteDatabase& database) : m_database(database) {
    m_database.Execute("BEGIN IMMEDIATE");
  }
  ~Transaction() {
    if (m_isDone) return;
    try {
      m_database.Execute("ROLLBACK");
    } catch (const platform::SqliteError&) {
      // After some errors SQLite has done so itself.
    }
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  void Commit() {
    m_database.Execute("COMMIT");
    m_isDone = true;
  }

 private:
  platform::SqliteDatabase& m_database;
  bool m_isDone = false;
};

std::string NameOf(const platform::SqliteError& error) {
  const std::string name = std::filesystem::path(error.File()).filename().string();
  if (name.empty()) return "a database in it";
  return (name == "journal.db" ? "its journal " : "its database ") + name;
}

const char* WhatToDo(const platform::SqliteError& error) {
  if (error.IsDamage()) {
    return ". It is damaged: tarny migrate goes on with a new run folder and --adopt, and "
           "sends only what is not in the target";
  }
  return error.IsUnwritten() ? ". The disk of the run folder is full, or cannot be written" : "";
}

}  // namespace

std::string DatabaseFailure(const std::string& runFolder, const platform::SqliteError& error) {
  return fmt::format("{} cannot be used: {} fails with: {}{}", runFolder, NameOf(error),
                     error.what(), WhatToDo(error));
}

Journal::Journal(const std::string& path) : m_database(path) {
  m_database.Execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;");
  m_database.Execute(kSchema);
  for (const auto& [name, column] : kLaterColumns) {
    platform::SqliteStatement query =
        m_database.Prepare("SELECT 1 FROM pragma_table_info('begun') WHERE name = ?1");
    if (query.Bind(1, name).Step()) continue;
    m_database.Execute(std::string("ALTER TABLE begun ADD COLUMN ") + column);
  }
}

std::optional<std::string> Journal::Property(std::string_view name) {
  platform::SqliteStatement query =
      m_database.Prepare("SELECT value FROM property WHERE name = ?1");
  if (!query.Bind(1, name).Step()) return std::nullopt;
  return std::string(query.Text(0));
}

void Journal::SetProperty(std::string_view name, std::string_view value) {
  RunDurably(m_database.Prepare("INSERT OR REPLACE INTO property VALUES (?1, ?2)")
                 .Bind(1, name)
                 .Bind(2, value));
}

void Journal::RemoveProperty(std::string_view name) {
  RunDurably(m_database.Prepare("DELETE FROM property WHERE name = ?1").Bind(1, name));
}

bool Journal::HasArrived(std::string_view source, std::string_view folder, std::string_view hash) {
  platform::SqliteStatement query = m_database.Prepare(
      "SELECT 1 FROM item WHERE source = ?1 AND folder = ?2 AND hash = ?3 AND result = ?4");
  query.Bind(1, source).Bind(2, folder).Bind(3, hash);
  return query.Bind(4, static_cast<std::int64_t>(ItemResult::kArrived)).Step();
}

void Journal::Store(const JournalEntry& entry, const std::optional<KnownMail>& mail) {
  m_database.Execute("PRAGMA synchronous=FULL");
  StoreFound(entry, mail);
  m_database.Execute("PRAGMA synchronous=NORMAL");
}

void Journal::StoreFound(const JournalEntry& entry, const std::optional<KnownMail>& mail) {
  if (!mail) return InsertOf(m_database, entry).Run();
  Transaction both(m_database);
  KeepMail(*mail);
  InsertOf(m_database, entry).Run();
  both.Commit();
}

void Journal::StoreUnread(const JournalEntry& entry) {
  platform::SqliteStatement query =
      m_database.Prepare("SELECT 1 FROM item WHERE source = ?1 AND result = ?2");
  query.Bind(1, entry.source).Bind(2, static_cast<std::int64_t>(ItemResult::kArrived));
  if (!query.Step()) StoreFound(entry);
}

std::optional<KnownMail> Journal::MailOf(std::string_view folder, std::string_view hash) {
  platform::SqliteStatement query =
      m_database.Prepare("SELECT * FROM mail WHERE folder = ?1 AND hash = ?2");
  if (!query.Bind(1, folder).Bind(2, hash).Step()) return std::nullopt;
  return MailIn(query);
}

void Journal::KeepMail(const KnownMail& mail) {
  platform::SqliteStatement insert =
      m_database.Prepare("INSERT OR REPLACE INTO mail VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)");
  insert.Bind(1, mail.folder).Bind(2, mail.hash).Bind(3, mail.key).Bind(4, mail.ledgerKey);
  insert.Bind(5, mail.state).Bind(6, mail.source);
  insert.Bind(7, static_cast<std::int64_t>(mail.origin)).Run();
}

void Journal::EachBrought(const std::function<void(const KnownMail&)>& take) {
  platform::SqliteStatement query =
      m_database.Prepare("SELECT * FROM mail WHERE origin = ?1 ORDER BY folder, hash");
  query.Bind(1, static_cast<std::int64_t>(KnownMail::Origin::kBrought));
  while (query.Step()) take(MailIn(query));
}

void Journal::KeepLate(const LateItem& item) {
  platform::SqliteStatement insert =
      m_database.Prepare("INSERT OR REPLACE INTO late VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
  insert.Bind(1, item.entry.folder).Bind(2, item.entry.key);
  insert.Bind(3, item.ledgerKey).Bind(4, item.messageId);
  insert.Bind(5, static_cast<std::int64_t>(item.sent));
  insert.Bind(6, static_cast<std::int64_t>(item.shown)).Run();
}

std::vector<Journal::LateItem> Journal::LateItems() {
  std::vector<LateItem> items;
  platform::SqliteStatement query = m_database.Prepare(
      "SELECT item.*, ledger_key, message_id, sent, shown FROM late JOIN item USING (folder, key)"
      " WHERE result = ?1 GROUP BY folder, key");
  query.Bind(1, static_cast<std::int64_t>(ItemResult::kArrived));
  while (query.Step()) {
    items.push_back({EntryIn(query), std::string(query.Text(6)), std::string(query.Text(7)),
                     static_cast<std::size_t>(query.Int(8)),
                     static_cast<std::size_t>(query.Int(9))});
  }
  return items;
}

void Journal::EndLate(const JournalEntry& entry) {
  Transaction both(m_database);
  m_database.Prepare("UPDATE item SET text = ?1 WHERE folder = ?2 AND key = ?3 AND result = ?4")
      .Bind(1, entry.text)
      .Bind(2, entry.folder)
      .Bind(3, entry.key)
      .Bind(4, static_cast<std::int64_t>(ItemResult::kArrived))
      .Run();
  m_database.Prepare("DELETE FROM late WHERE folder = ?1 AND key = ?2")
      .Bind(1, entry.folder)
      .Bind(2, entry.key)
      .Run();
  both.Commit();
}

std::map<std::string, std::int32_t> Journal::FolderKinds() {
  std::map<std::string, std::int32_t> kinds;
  platform::SqliteStatement query = m_database.Prepare("SELECT folder, kind FROM folder_kind");
  while (query.Step()) {
    kinds.emplace(query.Text(0), static_cast<std::int32_t>(query.Int(1)));
  }
  return kinds;
}

void Journal::KeepFolderKinds(const std::map<std::string, std::int32_t>& kinds) {
  for (const auto& [folder, kind] : kinds) {
    m_database.Prepare("INSERT OR IGNORE INTO folder_kind VALUES (?1, ?2)")
        .Bind(1, folder)
        .Bind(2, static_cast<std::int64_t>(kind))
        .Run();
  }
}

std::optional<std::string> Journal::PlaceOf(const Holder& holder) {
  platform::SqliteStatement query =
      m_database.Prepare("SELECT folder FROM holder WHERE path = ?1 AND part = ?2 AND type = ?3");
  query.Bind(1, holder.path).Bind(2, holder.part);
  if (!query.Bind(3, std::int64_t{holder.type}).Step()) return std::nullopt;
  return std::string(query.Text(0));
}

void Journal::KeepPlaces(const FolderPlaces& places) {
  Transaction all(m_database);
  platform::SqliteStatement insert =
      m_database.Prepare("INSERT OR REPLACE INTO holder VALUES (?1, ?2, ?3, ?4)");
  for (const auto& [holder, place] : places) {
    insert.Bind(1, holder.path).Bind(2, holder.part);
    insert.Bind(3, std::int64_t{holder.type}).Bind(4, place.target).Run();
  }
  all.Commit();
}

std::set<std::string, std::less<>> Journal::HolderPaths() {
  platform::SqliteStatement query = m_database.Prepare("SELECT DISTINCT path FROM holder");
  std::set<std::string, std::less<>> paths;
  while (query.Step()) paths.emplace_hint(paths.end(), query.Text(0));
  return paths;
}

// What lies in a file is located behind a colon, what lies in a folder behind a slash. The place of
// an item may be another one's by now; of mails it is known where they lay last.
bool Journal::HasPut(const std::string& path, std::string_view folder) {
  for (const char divider : {':', '/'}) {
    platform::SqliteStatement query = m_database.Prepare(
        "SELECT 1 FROM item WHERE source > ?1 AND source < ?2 AND folder = ?3 AND result <> ?4"
        " AND NOT EXISTS (SELECT 1 FROM mail WHERE mail.folder = item.folder"
        " AND mail.hash = item.hash AND origin = ?5)"
        " UNION ALL SELECT 1 FROM mail WHERE folder = ?3 AND source > ?1 AND source < ?2"
        " AND origin <> ?5 LIMIT 1");
    query.Bind(1, path + divider).Bind(2, path + static_cast<char>(divider + 1)).Bind(3, folder);
    query.Bind(4, static_cast<std::int64_t>(ItemResult::kFailed));
    if (query.Bind(5, static_cast<std::int64_t>(KnownMail::Origin::kTakenAway)).Step()) return true;
  }
  return false;
}

bool Journal::HasItemsOf(const std::string& path) {
  for (const char divider : {':', '/'}) {
    platform::SqliteStatement query = m_database.Prepare(
        "SELECT 1 FROM item WHERE source = ?1 OR (source > ?2 AND source < ?3) LIMIT 1");
    query.Bind(1, path).Bind(2, path + divider).Bind(3, path + static_cast<char>(divider + 1));
    if (query.Step()) return true;
  }
  return false;
}

// From one folder to the next, past all keys of each.
std::vector<std::string> Journal::Folders() {
  platform::SqliteStatement query = m_database.Prepare(
      "WITH RECURSIVE one(folder) AS (SELECT min(folder) FROM claim UNION ALL"
      " SELECT (SELECT min(folder) FROM claim WHERE folder > one.folder) FROM one"
      " WHERE one.folder IS NOT NULL) SELECT folder FROM one WHERE folder IS NOT NULL");
  std::vector<std::string> folders;
  while (query.Step()) folders.emplace_back(query.Text(0));
  return folders;
}

bool Journal::IsNew() {
  return !m_database.Prepare("SELECT 1 FROM item UNION ALL SELECT 1 FROM begun LIMIT 1").Step();
}

void Journal::Begin(std::string_view folder, std::string_view key) {
  const BootReading now = ReadBootClock();
  RunDurably(m_database
                 .Prepare("INSERT INTO begun (folder, key, time, boot, since_boot)"
                          " VALUES (?1, ?2, datetime('now'), ?3, ?4) ON CONFLICT DO UPDATE"
                          " SET time = datetime('now'), tries = tries + 1, boot = ?3,"
                          " since_boot = ?4")
                 .Bind(1, folder)
                 .Bind(2, key)
                 .Bind(3, now.boot)
                 .Bind(4, static_cast<std::int64_t>(now.time.count())));
}

void Journal::Forget(std::string_view folder, std::string_view key) {
  m_database.Prepare("DELETE FROM begun WHERE folder = ?1 AND key = ?2")
      .Bind(1, folder)
      .Bind(2, key)
      .Run();
}

// The sync at the end of a write-ahead log takes along all that was written to it before.
void Journal::RunDurably(platform::SqliteStatement& statement) {
  m_database.Execute("PRAGMA synchronous=FULL");
  statement.Run();
  m_database.Execute("PRAGMA synchronous=NORMAL");
}

std::optional<Journal::OpenOutcome> Journal::OpenFor(std::string_view folder,
                                                     std::string_view key) {
  platform::SqliteStatement query = m_database.Prepare(
      "SELECT boot, since_boot, tries FROM begun WHERE folder = ?1 AND key = ?2");
  if (!query.Bind(1, folder).Bind(2, key).Step()) return std::nullopt;
  const BootReading now = ReadBootClock();
  std::chrono::seconds since{0};
  if (!now.boot.empty() && query.Text(0) == now.boot) {
    since = now.time - std::chrono::seconds(query.Int(1));
  }
  return OpenOutcome{since, static_cast<int>(query.Int(2))};
}

std::optional<Journal::ItemName> Journal::LastBegun() {
  platform::SqliteStatement query = m_database.Prepare("SELECT folder, key FROM last_begun");
  if (!query.Step()) return std::nullopt;
  return ItemName{std::string(query.Text(0)), std::string(query.Text(1))};
}

bool Journal::IsIncomplete(std::string_view folder, std::string_view key) {
  platform::SqliteStatement query =
      m_database.Prepare("SELECT 1 FROM item WHERE folder = ?1 AND key = ?2 AND result = ?3");
  query.Bind(1, folder).Bind(2, key);
  return query.Bind(3, static_cast<std::int64_t>(ItemResult::kIncomplete)).Step();
}

std::vector<std::string> Journal::OpenKeys(std::string_view folder) {
  platform::SqliteStatement query =
      m_database.Prepare("SELECT key FROM begun WHERE folder = ?1 ORDER BY key");
  query.Bind(1, folder);
  std::vector<std::string> keys;
  while (query.Step()) keys.emplace_back(query.Text(0));
  return keys;
}

void Journal::EachItem(const std::function<void(const ItemRow&)>& take) {
  platform::SqliteStatement query = m_database.Prepare("SELECT source, key, result FROM item");
  while (query.Step()) {
    take({query.Text(0), query.Text(1), static_cast<ItemResult>(query.Int(2))});
  }
}

void Journal::EachThere(const std::function<void(const ArrivedRow&)>& take) {
  platform::SqliteStatement query = m_database.Prepare(
      "SELECT source, folder, hash FROM item WHERE result = ?1"
      " AND NOT EXISTS (SELECT 1 FROM mail WHERE mail.folder = item.folder"
      " AND mail.hash = item.hash AND origin = ?2)");
  query.Bind(1, static_cast<std::int64_t>(ItemResult::kArrived));
  query.Bind(2, static_cast<std::int64_t>(KnownMail::Origin::kTakenAway));
  while (query.Step()) take({query.Text(0), query.Text(1), query.Text(2)});
}

std::optional<JournalEntry> Journal::EntryAt(std::string_view source) {
  platform::SqliteStatement query = m_database.Prepare("SELECT * FROM item WHERE source = ?1");
  if (!query.Bind(1, source).Step()) return std::nullopt;
  return EntryIn(query);
}

void Journal::ForgetAll() {
  m_database.Execute(
      "PRAGMA synchronous=FULL; BEGIN IMMEDIATE; DELETE FROM item; DELETE FROM mail;"
      " DELETE FROM late; DELETE FROM begun; DELETE FROM claim; DELETE FROM holder;"
      " COMMIT; PRAGMA synchronous=NORMAL");
}

std::vector<JournalEntry> Journal::EndedWith(ItemResult result, std::string_view part) {
  platform::SqliteStatement query = m_database.Prepare(
      "SELECT * FROM item WHERE result = ?1 AND instr(text, ?2) > 0 ORDER BY source");
  query.Bind(1, static_cast<std::int64_t>(result)).Bind(2, part);
  std::vector<JournalEntry> entries;
  while (query.Step()) entries.push_back(EntryIn(query));
  return entries;
}

bool Journal::HasArrivals() {
  platform::SqliteStatement query =
      m_database.Prepare("SELECT 1 FROM item WHERE result = ?1 LIMIT 1");
  return query.Bind(1, static_cast<std::int64_t>(ItemResult::kArrived)).Step();
}

bool Journal::HasArrivalsIn(std::string_view folder) {
  platform::SqliteStatement query =
      m_database.Prepare("SELECT 1 FROM item WHERE folder = ?1 AND result = ?2 LIMIT 1");
  return query.Bind(1, folder).Bind(2, static_cast<std::int64_t>(ItemResult::kArrived)).Step();
}

std::vector<JournalEntry> Journal::ArrivedIn(std::string_view folder) {
  platform::SqliteStatement query = m_database.Prepare(
      "SELECT source, hash, key, text FROM item WHERE folder = ?1 AND result = ?2 AND NOT EXISTS"
      " (SELECT 1 FROM mail WHERE mail.folder = item.folder AND mail.hash = item.hash)"
      " ORDER BY source");
  query.Bind(1, folder).Bind(2, static_cast<std::int64_t>(ItemResult::kArrived));
  std::vector<JournalEntry> entries;
  while (query.Step()) {
    entries.push_back({std::string(query.Text(0)), std::string(folder), std::string(query.Text(1)),
                       std::string(query.Text(2)), ItemResult::kArrived,
                       std::string(query.Text(3))});
  }
  return entries;
}

// Another item may stand at the old place already, and has its own entry then.
void Journal::Move(const JournalEntry& entry, std::string_view to) {
  JournalEntry moved = entry;
  moved.source = to;
  Transaction both(m_database);
  StoreFound(moved);
  m_database.Prepare("DELETE FROM item WHERE source = ?1 AND folder = ?2 AND hash = ?3")
      .Bind(1, entry.source)
      .Bind(2, entry.folder)
      .Bind(3, entry.hash)
      .Run();
  both.Commit();
}

std::optional<std::string> Journal::OwnerOf(std::string_view folder, std::string_view key) {
  platform::SqliteStatement query =
      m_database.Prepare("SELECT hash FROM claim WHERE folder = ?1 AND key = ?2");
  if (!query.Bind(1, folder).Bind(2, key).Step()) return std::nullopt;
  return std::string(query.Text(0));
}

bool Journal::Claim(std::string_view folder, std::string_view key, std::string_view hash) {
  if (const std::optional<std::string> owner = OwnerOf(folder, key)) return *owner == hash;
  Reclaim(folder, key, hash);
  return true;
}

bool Journal::IsClaimed(std::string_view folder, std::string_view key) {
  return OwnerOf(folder, key).has_value();
}

bool Journal::IsClaimedByOther(std::string_view folder, std::string_view key,
                               std::string_view hash) {
  const std::optional<std::string> owner = OwnerOf(folder, key);
  return owner && *owner != hash;
}

void Journal::Reclaim(std::string_view folder, std::string_view key, std::string_view hash) {
  m_database.Prepare("INSERT OR REPLACE INTO claim VALUES (?1, ?2, ?3)")
      .Bind(1, folder)
      .Bind(2, key)
      .Bind(3, hash)
      .Run();
}

std::string Journal::ClaimKey(std::string_view folder, std::string_view wantedKey,
                              std::string_view hash) {
  // An appended key can be taken as well, by a mail whose own id was made to look like it.
  std::string key(wantedKey);
  while (!Claim(folder, key, hash)) key = RepeatedKey(key, hash);
  return key;
}

bool Journal::HasClaimed(std::string_view folder, std::string_view wantedKey,
                         std::string_view hash) {
  std::string key(wantedKey);
  for (;;) {
    const std::optional<std::string> owner = OwnerOf(folder, key);
    if (!owner || *owner == hash) return owner.has_value();
    key = RepeatedKey(key, hash);
  }
}

}  // namespace client
