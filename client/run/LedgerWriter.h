#pragma once

#include <string>
#include <string_view>

#include "platform/Sqlite.h"

namespace client {

// Enters what was found in the target into the engine's ledger, also while the engine works on it.
// A row may be lost in a power cut: the journal, which is written behind it, knows the item then.
class LedgerWriter {
 public:
  explicit LedgerWriter(std::string path) : m_path(std::move(path)) {}

  // One row, as the engine writes it behind a save; makes the ledger where there is none. Texts are
  // UTF-8, the folder as the engine was given it. Throws platform::SqliteError.
  void Enter(std::string_view folder, std::string_view key, std::string_view login);
  // Takes away the rows of an item that is not in the target any more.
  void Remove(std::string_view folder, std::string_view key, std::string_view login);
  // Takes away every row. Durable.
  void RemoveAll();
  // As LedgerLook::Close.
  void Close() { m_database.Close(); }

 private:
  void Open();

  std::string m_path;
  platform::SqliteDatabase m_database;
};

}  // namespace client
