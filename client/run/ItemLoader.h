#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/run/Journal.h"
#include "client/run/LedgerLook.h"
#include "client/run/Plan.h"
#include "client/run/TargetLook.h"
#include "client/sources/FilesBeside.h"
#include "client/sources/PreparedItem.h"

namespace client {

// An item as it was read from its source, and the names that it goes by.
struct LoadedItem {
  std::string bytes;    // of a mail, as it is sent; of other types as the source gives them
  PreparedFiles files;  // of a prepared item
  std::vector<FilesBeside::Missing> missing;  // of a mail whose files were added
  std::string hash;                           // of what does not change with the state of a mail
  MailState state;                            // of a mail
  std::string id;                             // as its source has it; may be empty
  std::string ledgerKey;  // empty for a type, and a prepared item without an id, that get no row
  std::string key;        // on the item in the target: tells id and content
  std::string messageId;  // that its mail carries
  // The folder that the engine saves it into where its own refuses it.
  std::optional<Place> elsewhere;
  bool mayBeSeries = false;  // saved in several steps (pipeline/SeriesSaving.h)
  // Bytes of its MIME content; 0 for a prepared item.
  std::int64_t MimeSize() const { return static_cast<std::int64_t>(bytes.size()); }
};

// Reads items, and gives them their keys and those that the journal keeps for them.
class ItemLoader {
 public:
  // Both must outlive this; login is that of the ledger's rows.
  ItemLoader(Journal& journal, LedgerLook& ledger, std::string login)
      : m_journal(journal), m_ledger(ledger), m_login(std::move(login)) {}

  // The content and its hash. Throws SourceError.
  static LoadedItem Load(const Plan::Entry& entry);
  // Puts what its store keeps in files of their own into a mail, as it is sent; nothing into any
  // other item. Its hash stays: it is the same mail whether such files lie in its source or not.
  static void AddFiles(const Plan::Entry& entry, LoadedItem& item);
  // Fills in the key on the item and the id, from the item alone: items without an id that are
  // alike get one key here. Throws SourceError.
  static void Identify(const Plan::Entry& entry, LoadedItem& item);
  // Fills in all keys and the id. Throws SourceError where a prepared item asks for the key of
  // another one, which the engine would pass over as known, and platform::SqliteError.
  void Name(const Plan::Entry& entry, LoadedItem& item);

  // Whether an item of that folder with that content was ever named; it must have been identified.
  static bool WasNamed(Journal& journal, const Plan::Entry& entry, const LoadedItem& item);

  // Who owns the key of an item without a row: its content at that place.
  static std::string OwnerOf(const LoadedItem& item, std::string_view location);
  // Gives the item a key that another place of the same content had.
  void TakeOverKey(const Plan::Entry& entry, const std::string& key, LoadedItem& item);

 private:
  void ClaimPlace(const Plan::Entry& entry, LoadedItem& item);
  void NamePrepared(const Plan::Entry& entry, LoadedItem& item);

  Journal& m_journal;
  LedgerLook& m_ledger;
  std::string m_login;
};

}  // namespace client
