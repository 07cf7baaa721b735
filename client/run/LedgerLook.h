#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Sqlite.h"

namespace client {

class RunFolder;

inline constexpr std::string_view kLedgerName = "SQLLiteNew.db";  // in the engine's folder

// The folder text of a ledger row for a target folder as the engine was given it (UTF-8).
std::string LedgerFolder(std::string_view folder);

// Looks into the engine's ledger, read only, also while the engine works on it.
class LedgerLook {
 public:
  explicit LedgerLook(std::string path) : m_path(std::move(path)) {}

  // True if the item has its row. False when there is no ledger yet, or none that can be read:
  // nothing is proved then.
  bool HasRow(std::string_view folder, std::string_view key, std::string_view login);

  // True if any item has its row; false as above.
  bool HasRows();

  // How many rows mails of that message id have in the folder, besides the one with ownKey: the
  // first under the id itself, each other under a key made of it. 0 where HasRow would prove
  // nothing.
  std::size_t RowsOfId(std::string_view folder, std::string_view messageId, std::string_view ownKey,
                       std::string_view login);

  // Why the ledger cannot be read or written just now, for people; empty when it can, or is not
  // there yet. Waits up to 1 s for a lock. Changes nothing.
  std::string Problem() const;

  struct Count {
    std::string folder;
    std::string target;
    std::int64_t rows = 0;
  };
  // Rows by folder and target, sorted. Throws platform::SqliteError.
  std::vector<Count> Counts();

  // The engine's closing of its ledger tidies up only when no one else has it open.
  void Close() { m_database.Close(); }

 private:
  void Open();

  std::string m_path;
  platform::SqliteDatabase m_database;
};

// Throws RunError when the ledger cannot be used: without it a run could not tell what has arrived,
// and would send it again.
void RequireUsableLedger(const RunFolder& run);

}  // namespace client
