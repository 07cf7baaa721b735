#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

struct sqlite3;
struct sqlite3_stmt;

namespace platform {

// SQLite's own message; Code() is its extended result code, File() the database's path, empty where
// none was at hand.
class SqliteError : public std::runtime_error {
 public:
  SqliteError(int nCode, const std::string& strMessage, std::string strFile = {})
      : std::runtime_error(strMessage), m_nCode(nCode), m_strFile(std::move(strFile)) {}
  int Code() const { return m_nCode; }
  const std::string& File() const { return m_strFile; }
  bool IsDamage() const;     // what stands in the file is no database, or a broken one
  bool IsUnwritten() const;  // the disk has no room, or takes nothing

 private:
  int m_nCode;
  std::string m_strFile;
};

// One prepared statement. Indexes of parameters count from 1, of columns from 0; texts are UTF-8.
// Bound text and blobs are copied unless the Static form is used, whose bytes must live until the
// statement is reset. Views of columns stay good until the next Step or Reset. Throws SqliteError.
class SqliteStatement {
 public:
  SqliteStatement& Bind(int nIndex, std::int64_t nValue);
  SqliteStatement& Bind(int nIndex, std::string_view strText);
  SqliteStatement& BindBlob(int nIndex, std::string_view strBytes);
  SqliteStatement& BindBlobStatic(int nIndex, std::string_view strBytes);
  SqliteStatement& BindNull(int nIndex);
  bool Step();   // true: a row is there; false: done
  void Reset();  // and clears the bindings
  void Run() {
    Step();
    Reset();
  }

  std::int64_t Int(int nColumn) const;
  std::string_view Text(int nColumn) const;  // empty for NULL
  std::string_view Blob(int nColumn) const;
  bool IsNull(int nColumn) const;
  bool HasTail() const { return m_bTail; }  // text stands behind the first statement

 private:
  friend class SqliteDatabase;
  struct Finalize {
    void operator()(sqlite3_stmt* p) const;
  };
  std::unique_ptr<sqlite3_stmt, Finalize> m_pStatement;
  bool m_bTail = false;
};

// One connection. Statements must be gone before it is closed.
class SqliteDatabase {
 public:
  SqliteDatabase() = default;
  // A reader alone leaves the files of a write-ahead log behind when it closes: kReadWrite, which
  // makes no database either, takes them away, and opens what is write-protected for reading.
  enum class Open { kReadWriteCreate, kReadWrite, kReadOnly };
  // Path of this system. Throws SqliteError. Busy time-out 5 s.
  explicit SqliteDatabase(const std::string& strPath, Open eOpen = Open::kReadWriteCreate);

  explicit operator bool() const { return m_pDatabase != nullptr; }
  SqliteStatement Prepare(std::string_view strSql);
  void Execute(std::string_view strSql);  // one or more statements without results
  std::int64_t LastInsertRowId() const;
  int Changes() const;
  void Close() { m_pDatabase.reset(); }

 private:
  struct CloseDatabase {
    void operator()(sqlite3* p) const;
  };
  std::unique_ptr<sqlite3, CloseDatabase> m_pDatabase;
};

}  // namespace platform
