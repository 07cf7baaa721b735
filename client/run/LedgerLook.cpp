#include "client/run/LedgerLook.h"

#include <filesystem>

#include <fmt/format.h>

#include "client/run/MailKey.h"
#include "client/run/RunFolder.h"

namespace client {
namespace {

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  for (size_t at = text.find(from); at != std::string_view::npos; at = text.find(from)) {
    result.append(text.substr(0, at)).append(to);
    text.remove_prefix(at + from.size());
  }
  return result.append(text);
}

}  // namespace

std::string LedgerFolder(std::string_view folder) {
  return ReplaceAll(ReplaceAll(folder, "?", ">"), "&quot;", "\"");
}

void LedgerLook::Open() {
  if (!m_database) {
    m_database = platform::SqliteDatabase(m_path, platform::SqliteDatabase::Open::kReadOnly);
  }
}

bool LedgerLook::HasRow(std::string_view folder, std::string_view key, std::string_view login) {
  try {
    Open();
    // The rows of one message id are few; the plus signs keep the other indexes, which are as
    // large as a folder, out of the choice.
    platform::SqliteStatement query = m_database.Prepare(
        "SELECT 1 FROM MAILBOXINFO WHERE MESSAGE_ID = ?1 AND +FOLDERNAME = ?2 AND +TARGET = ?3"
        " LIMIT 1");
    return query.Bind(1, key).Bind(2, LedgerFolder(folder)).Bind(3, login).Step();
  } catch (const platform::SqliteError&) {
    m_database.Close();
    return false;
  }
}

bool LedgerLook::HasRows() {
  try {
    Open();
    return m_database.Prepare("SELECT 1 FROM MAILBOXINFO LIMIT 1").Step();
  } catch (const platform::SqliteError&) {
    m_database.Close();
    return false;
  }
}

std::size_t LedgerLook::RowsOfId(std::string_view folder, std::string_view messageId,
                                 std::string_view ownKey, std::string_view login) {
  if (messageId.empty()) return 0;
  try {
    Open();
    const std::string repeated = RepeatedKey(messageId, "");
    std::string behind = repeated;
    ++behind.back();  // the first text that is greater than all that begin so
    platform::SqliteStatement query = m_database.Prepare(
        "SELECT count(*) FROM MAILBOXINFO WHERE (MESSAGE_ID = ?1 OR"
        " (MESSAGE_ID >= ?4 AND MESSAGE_ID < ?5)) AND +FOLDERNAME = ?2 AND +TARGET = ?3"
        " AND +MESSAGE_ID <> ?6");
    query.Bind(1, messageId).Bind(2, LedgerFolder(folder)).Bind(3, login);
    query.Bind(4, repeated).Bind(5, behind).Bind(6, ownKey).Step();
    return static_cast<std::size_t>(query.Int(0));
  } catch (const platform::SqliteError&) {
    m_database.Close();
    return 0;
  }
}

std::string LedgerLook::Problem() const {
  std::error_code error;
  if (!std::filesystem::exists(m_path, error)) return error ? error.message() : std::string();
  if (!std::filesystem::is_regular_file(m_path, error)) return "it is no regular file";
  try {
    platform::SqliteDatabase database(m_path);
    database.Execute("PRAGMA busy_timeout=1000");  // the engine has waited longer already
    database.Execute("BEGIN IMMEDIATE");           // fails where a row could not be written either
    database.Execute("ROLLBACK");
    return {};
  } catch (const platform::SqliteError& failure) {
    return failure.what();
  }
}

std::vector<LedgerLook::Count> LedgerLook::Counts() {
  platform::SqliteDatabase database(m_path, platform::SqliteDatabase::Open::kReadWrite);
  platform::SqliteStatement query = database.Prepare(
      "SELECT FOLDERNAME, TARGET, count(*) FROM MAILBOXINFO GROUP BY 1, 2 ORDER BY 1, 2");
  std::vector<Count> counts;
  while (query.Step()) {
    counts.push_back({std::string(query.Text(0)), std::string(query.Text(1)), query.Int(2)});
  }
  return counts;
}

void RequireUsableLedger(const RunFolder& run) {
  const std::string path = run.File(std::string(kLedgerName));
  const std::string problem = LedgerLook(path).Problem();
  if (problem.empty()) return;
  throw RunError(fmt::format(
      "{} cannot be used: its ledger {} fails with: {}. Take a new run folder, or move the ledger "
      "away: the journal then says what has arrived",
      run.Path(), kLedgerName, problem));
}

}  // namespace client
