#include "mailboxd/store/StoreImplementation.h"

#include <span>
#include <stdexcept>

#include "mailboxd/store/StoreSchema.h"

namespace mailbox {

Store::Implementation::Transaction::~Transaction() {
  if (m_done) return;
  try {
    m_owner.Run("ROLLBACK");
  } catch (const platform::SqliteError&) {
    // SQLite has rolled back by itself after some errors.
  }
}

void Store::Implementation::Transaction::Commit() {
  m_owner.Run("COMMIT");
  m_done = true;
}

Store::Implementation::Implementation(const std::string& path, Mode mode)
    : m_writes(mode != Mode::kReadOnly),
      m_database(path, mode == Mode::kReadWrite ? platform::SqliteDatabase::Open::kReadWriteCreate
                                                : platform::SqliteDatabase::Open::kReadWrite) {
  RequireNotOthers(m_database, path);
  if (mode == Mode::kReadOnly) {
    m_database.Execute("PRAGMA query_only=ON");
  } else {
    m_database.Execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL");
    m_database.Execute("PRAGMA foreign_keys=ON; PRAGMA journal_size_limit=16777216");
  }
  UpdateLayout(mode, path);
}

void Store::Implementation::UpdateLayout(Mode mode, const std::string& path) {
  const std::span<const char* const> steps = SchemaSteps();
  const auto newest = static_cast<std::int64_t>(steps.size());
  std::int64_t version = Number("PRAGMA user_version").value_or(0);
  if (mode != Mode::kReadOnly && version >= 0 && version < newest) {
    Transaction transaction(*this);
    for (const char* step : steps.subspan(static_cast<size_t>(version))) m_database.Execute(step);
    m_database.Execute("PRAGMA user_version=" + std::to_string(newest));
    transaction.Commit();
    version = newest;
  }
  if (version != newest) {
    throw std::runtime_error(path + " is of layout " + std::to_string(version) + ", not " +
                             std::to_string(newest));
  }
}

platform::SqliteStatement& Store::Implementation::Prepared(const std::string& sql) {
  auto found = m_statements.find(sql);
  if (found == m_statements.end()) found = m_statements.emplace(sql, m_database.Prepare(sql)).first;
  return found->second;
}

}  // namespace mailbox
