#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxd/store/RowShape.h"
#include "mailboxd/store/Store.h"
#include "platform/Sqlite.h"

namespace mailbox {

// Bytes of a parameter that live until the statement has run.
struct BlobView {
  std::string_view bytes;
};

// The database behind a store, for Store.cpp (mailboxes and folders) and StoreItems.cpp (items and
// attachments). Whoever calls holds the mutex.
class Store::Implementation {
 public:
  // A prepared statement in use; it is reset when this goes, so that no read transaction stays.
  class Use {
   public:
    explicit Use(platform::SqliteStatement& statement) : m_statement(statement) {}
    ~Use() { m_statement.Reset(); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    platform::SqliteStatement* operator->() { return &m_statement; }
    platform::SqliteStatement& operator*() { return m_statement; }

   private:
    platform::SqliteStatement& m_statement;
  };

  // All or nothing: rolled back unless committed.
  class Transaction {
   public:
    explicit Transaction(Implementation& owner) : m_owner(owner) { owner.Run("BEGIN IMMEDIATE"); }
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

   private:
    Implementation& m_owner;
    bool m_done = false;
  };

  Implementation(const std::string& path, Mode mode);

  // The statement of that text, prepared once, with its parameters in order: a number, UTF-8 text,
  // BlobView, or nullptr for NULL.
  template <typename... Values>
  Use Query(const std::string& sql, const Values&... values) {
    platform::SqliteStatement& statement = Prepared(sql);
    int index = 0;
    (Bind(statement, ++index, values), ...);
    return Use(statement);
  }
  template <typename... Values>
  void Run(const std::string& sql, const Values&... values) {
    Query(sql, values...)->Step();
  }
  // The first row of that shape, or all; `rest` is what follows the table's name.
  template <typename Record, typename... Values>
  std::optional<Record> One(const RowShape<Record>& shape, std::string_view rest,
                            const Values&... values) {
    Use query = Query(shape.Select() + std::string(rest), values...);
    if (!query->Step()) return std::nullopt;
    return shape.Read(*query);
  }
  template <typename Record, typename... Values>
  std::vector<Record> All(const RowShape<Record>& shape, std::string_view rest,
                          const Values&... values) {
    Use query = Query(shape.Select() + std::string(rest), values...);
    std::vector<Record> records;
    while (query->Step()) records.push_back(shape.Read(*query));
    return records;
  }
  // The numbers in the first column.
  template <typename... Values>
  std::vector<std::int64_t> Numbers(const std::string& sql, const Values&... values) {
    Use query = Query(sql, values...);
    std::vector<std::int64_t> numbers;
    while (query->Step()) numbers.push_back(query->Int(0));
    return numbers;
  }
  // The number in the first row and column.
  template <typename... Values>
  std::optional<std::int64_t> Number(const std::string& sql, const Values&... values) {
    Use query = Query(sql, values...);
    if (!query->Step()) return std::nullopt;
    return query->Int(0);
  }
  std::int64_t TotalOf(std::int64_t folder) {
    return Number("SELECT total FROM folders WHERE id=?", folder).value_or(0);
  }
  std::int64_t LastRow() const { return m_database.LastInsertRowId(); }
  bool Changed() const { return m_database.Changes() > 0; }

  // In Store.cpp.
  std::optional<std::int64_t> FindMailbox(const std::string& address);
  std::int64_t MakeMailbox(const std::string& address);
  std::int64_t InsertFolder(std::int64_t mailbox, std::int64_t parent, std::string_view name,
                            std::string_view folderClass, std::string_view wellKnown);
  // In StoreItems.cpp.
  std::vector<std::int64_t> Rows(std::int64_t folder, std::int64_t offset, std::int64_t limit);
  std::int64_t InsertItem(const NewItem& item);
  void InsertTexts(std::int64_t row, const ItemInfo& item);
  void InsertAttachment(std::int64_t item, NewAttachment& attachment);

  // Where the last page of a folder ended: the place in the folder and the row there, so that the
  // next page begins at a row and need not count its way to the place. New rows come behind it; a
  // row that goes or moves makes it void.
  struct PageEnd {
    std::int64_t place = 0;
    std::int64_t row = 0;
  };

  std::mutex m_mutex;
  const bool m_writes;                         // nobody else does then
  std::map<std::int64_t, PageEnd> m_pageEnds;  // by folder; kept where we alone write

 private:
  platform::SqliteStatement& Prepared(const std::string& sql);
  static void Bind(platform::SqliteStatement& statement, int index, std::int64_t value) {
    statement.Bind(index, value);
  }
  static void Bind(platform::SqliteStatement& statement, int index, std::string_view text) {
    statement.Bind(index, text);
  }
  static void Bind(platform::SqliteStatement& statement, int index, const BlobView& blob) {
    statement.BindBlobStatic(index, blob.bytes);
  }
  static void Bind(platform::SqliteStatement& statement, int index, std::nullptr_t) {
    statement.BindNull(index);
  }
  void UpdateLayout(Mode mode, const std::string& path);

  platform::SqliteDatabase m_database;  // before the statements: they must go first
  std::map<std::string, platform::SqliteStatement> m_statements;
  std::map<std::string, std::int64_t> m_mailboxes;  // rows by address
};

}  // namespace mailbox
