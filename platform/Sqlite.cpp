#include "platform/Sqlite.h"

#include <algorithm>

#include <sqlite3.h>

namespace platform {
namespace {

constexpr int kBusyTimeout = 5000;  // milliseconds

SqliteError ErrorOf(sqlite3* pDatabase, int nCode) {
  const char* pszFile = sqlite3_db_filename(pDatabase, "main");
  return {nCode, sqlite3_errmsg(pDatabase), pszFile ? pszFile : ""};
}

void Check(sqlite3* pDatabase, int nCode) {
  if (nCode != SQLITE_OK) throw ErrorOf(pDatabase, nCode);
}

int FlagsOf(SqliteDatabase::Open eOpen) {
  switch (eOpen) {
    case SqliteDatabase::Open::kReadOnly:
      return SQLITE_OPEN_READONLY;
    case SqliteDatabase::Open::kReadWrite:
      return SQLITE_OPEN_READWRITE;
    case SqliteDatabase::Open::kReadWriteCreate:
      break;
  }
  return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
}

// An empty text or blob is a value; a null pointer would bind NULL.
const char* NeverNull(std::string_view str) { return str.data() ? str.data() : ""; }

}  // namespace

bool SqliteError::IsDamage() const {
  const int nPrimary = m_nCode & 0xFF;
  return nPrimary == SQLITE_CORRUPT || nPrimary == SQLITE_NOTADB;
}

bool SqliteError::IsUnwritten() const {
  switch (m_nCode) {
    case SQLITE_IOERR_WRITE:
    case SQLITE_IOERR_FSYNC:
    case SQLITE_IOERR_DIR_FSYNC:
    case SQLITE_IOERR_TRUNCATE:
    case SQLITE_IOERR_SHMSIZE:  // the first that needs room when a log is opened
      return true;
    default: {
      const int nPrimary = m_nCode & 0xFF;
      return nPrimary == SQLITE_FULL || nPrimary == SQLITE_READONLY;
    }
  }
}

void SqliteStatement::Finalize::operator()(sqlite3_stmt* p) const { sqlite3_finalize(p); }

SqliteStatement& SqliteStatement::Bind(int nIndex, std::int64_t nValue) {
  sqlite3_stmt* p = m_pStatement.get();
  Check(sqlite3_db_handle(p), sqlite3_bind_int64(p, nIndex, nValue));
  return *this;
}

SqliteStatement& SqliteStatement::Bind(int nIndex, std::string_view strText) {
  sqlite3_stmt* p = m_pStatement.get();
  Check(sqlite3_db_handle(p), sqlite3_bind_text64(p, nIndex, NeverNull(strText), strText.size(),
                                                  SQLITE_TRANSIENT, SQLITE_UTF8));
  return *this;
}

SqliteStatement& SqliteStatement::BindBlob(int nIndex, std::string_view strBytes) {
  sqlite3_stmt* p = m_pStatement.get();
  Check(sqlite3_db_handle(p),
        sqlite3_bind_blob64(p, nIndex, NeverNull(strBytes), strBytes.size(), SQLITE_TRANSIENT));
  return *this;
}

SqliteStatement& SqliteStatement::BindBlobStatic(int nIndex, std::string_view strBytes) {
  sqlite3_stmt* p = m_pStatement.get();
  Check(sqlite3_db_handle(p),
        sqlite3_bind_blob64(p, nIndex, NeverNull(strBytes), strBytes.size(), SQLITE_STATIC));
  return *this;
}

SqliteStatement& SqliteStatement::BindNull(int nIndex) {
  sqlite3_stmt* p = m_pStatement.get();
  Check(sqlite3_db_handle(p), sqlite3_bind_null(p, nIndex));
  return *this;
}

bool SqliteStatement::Step() {
  sqlite3_stmt* p = m_pStatement.get();
  if (!p) return false;  // the text held no statement
  const int nCode = sqlite3_step(p);
  if (nCode == SQLITE_ROW) return true;
  if (nCode == SQLITE_DONE) return false;
  // The message is taken before the reset, which a statement that failed needs to be used again.
  const SqliteError objError = ErrorOf(sqlite3_db_handle(p), nCode);
  sqlite3_reset(p);
  throw objError;
}

void SqliteStatement::Reset() {
  sqlite3_reset(m_pStatement.get());  // repeats the code of a failed Step, which has been thrown
  sqlite3_clear_bindings(m_pStatement.get());
}

std::int64_t SqliteStatement::Int(int nColumn) const {
  return sqlite3_column_int64(m_pStatement.get(), nColumn);
}

std::string_view SqliteStatement::Text(int nColumn) const {
  // The text first: it may convert the value, and the length is that of the last conversion.
  auto* pText = reinterpret_cast<const char*>(sqlite3_column_text(m_pStatement.get(), nColumn));
  if (!pText) return {};
  return {pText, static_cast<size_t>(sqlite3_column_bytes(m_pStatement.get(), nColumn))};
}

std::string_view SqliteStatement::Blob(int nColumn) const {
  auto* pBytes = static_cast<const char*>(sqlite3_column_blob(m_pStatement.get(), nColumn));
  if (!pBytes) return {};
  return {pBytes, static_cast<size_t>(sqlite3_column_bytes(m_pStatement.get(), nColumn))};
}

bool SqliteStatement::IsNull(int nColumn) const {
  return sqlite3_column_type(m_pStatement.get(), nColumn) == SQLITE_NULL;
}

void SqliteDatabase::CloseDatabase::operator()(sqlite3* p) const { sqlite3_close_v2(p); }

SqliteDatabase::SqliteDatabase(const std::string& strPath, Open eOpen) {
  const int nFlags = FlagsOf(eOpen);
  sqlite3* pDatabase = nullptr;
  const int nCode =
      sqlite3_open_v2(strPath.c_str(), &pDatabase, nFlags | SQLITE_OPEN_EXRESCODE, nullptr);
  m_pDatabase.reset(pDatabase);  // a failed open leaves one to be closed, too
  if (nCode != SQLITE_OK) {
    throw SqliteError(nCode, pDatabase ? sqlite3_errmsg(pDatabase) : sqlite3_errstr(nCode),
                      strPath);
  }
  Check(pDatabase, sqlite3_busy_timeout(pDatabase, kBusyTimeout));
}

SqliteStatement SqliteDatabase::Prepare(std::string_view strSql) {
  if (strSql.size() > INT32_MAX) throw SqliteError(SQLITE_TOOBIG, "string or blob too big");
  SqliteStatement objStatement;
  sqlite3_stmt* pStatement = nullptr;
  const char* pTail = nullptr;
  const char* pSql = NeverNull(strSql);
  Check(m_pDatabase.get(),
        sqlite3_prepare_v2(m_pDatabase.get(), pSql, static_cast<int>(strSql.size()), &pStatement,
                           &pTail));
  objStatement.m_pStatement.reset(pStatement);
  const size_t nDone = pTail ? static_cast<size_t>(pTail - pSql) : strSql.size();
  const std::string_view strTail = strSql.substr(std::min(nDone, strSql.size()));
  objStatement.m_bTail = strTail.find_first_not_of(" \t\r\n\f;") != std::string_view::npos;
  return objStatement;
}

void SqliteDatabase::Execute(std::string_view strSql) {
  Check(m_pDatabase.get(),
        sqlite3_exec(m_pDatabase.get(), std::string(strSql).c_str(), nullptr, nullptr, nullptr));
}

std::int64_t SqliteDatabase::LastInsertRowId() const {
  return sqlite3_last_insert_rowid(m_pDatabase.get());
}

int SqliteDatabase::Changes() const { return sqlite3_changes(m_pDatabase.get()); }

}  // namespace platform
