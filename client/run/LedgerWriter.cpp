#include "client/run/LedgerWriter.h"

#include "client/run/LedgerLook.h"
#include "platform/Unicode.h"
#include "target/LedgerSchema.h"

namespace client {

void LedgerWriter::Open() {
  if (m_database) return;
  platform::SqliteDatabase database(m_path);
  database.Execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;");
  for (const char16_t* statement : kLedgerSchema) {
    database.Execute(platform::Utf16ToUtf8(statement));
  }
  m_database = std::move(database);
}

void LedgerWriter::Enter(std::string_view folder, std::string_view key, std::string_view login) {
  Open();
  m_database.Prepare("INSERT INTO MAILBOXINFO VALUES (?1, ?2, ?3)")
      .Bind(1, LedgerFolder(folder))
      .Bind(2, key)
      .Bind(3, login)
      .Run();
}

void LedgerWriter::Remove(std::string_view folder, std::string_view key, std::string_view login) {
  Open();
  m_database
      .Prepare(
          "DELETE FROM MAILBOXINFO WHERE MESSAGE_ID = ?1 AND +FOLDERNAME = ?2 AND"
          " +TARGET = ?3")
      .Bind(1, key)
      .Bind(2, LedgerFolder(folder))
      .Bind(3, login)
      .Run();
}

void LedgerWriter::RemoveAll() {
  Open();
  m_database.Execute("PRAGMA synchronous=FULL; DELETE FROM MAILBOXINFO; PRAGMA synchronous=NORMAL");
}

}  // namespace client
