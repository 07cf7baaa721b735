#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "client/run/FolderPlaces.h"
#include "platform/Sqlite.h"

namespace client {

enum class ItemResult {
  kFailed = 0,
  kArrived = 1,
  kNotConfirmed = 2,  // the engine reported success and no row proves it
  kUnknown = 3,       // the request may have been carried out, and the target could not be asked
  kIncomplete = 4,    // it is there without its attachments
};

// What became of one item of a source.
struct JournalEntry {
  std::string source;  // where the item lies, unique in the run
  std::string folder;  // target folder, each level ended by a backslash
  std::string hash;    // SHA-256 of its content
  std::string key;     // its key, on the item in the target and, where it gets a row, in the ledger
  ItemResult result = ItemResult::kFailed;
  std::string text;  // remark or reason
};

// A mail that stands in the target, as the run knows it.
struct KnownMail {
  // How it came there; one that was taken away again counts as any that was never there.
  enum class Origin { kFound = 0, kBrought = 1, kTakenAway = 2 };

  std::string folder;
  std::string hash;
  std::string key;        // on the item in the target
  std::string ledgerKey;  // of its row
  std::string state;      // that the target was told last
  std::string source;     // where it lay last
  Origin origin = Origin::kFound;
};

// Why a database of that run folder, its journal or its ledger, cannot be used, and, of a damaged
// one, what to do; for people.
std::string DatabaseFailure(const std::string& runFolder, const platform::SqliteError& error);

// The memory of a run: what was sent, and which mail owns which ledger key. An SQLite file; each
// change outlives the death of this process, and where its function says "durable", or one that
// comes later does, a loss of power, too. Texts are UTF-8, or bytes as a source gave them. Every
// function throws platform::SqliteError.
class Journal {
 public:
  explicit Journal(const std::string& path);

  // A setting of the run's first start, durable; nothing when it was never stored.
  std::optional<std::string> Property(std::string_view name);
  void SetProperty(std::string_view name, std::string_view value);
  void RemoveProperty(std::string_view name);

  // True if this content of this source has arrived in that folder.
  bool HasArrived(std::string_view source, std::string_view folder, std::string_view hash);
  // Ends what Begin began where the result says whether the item is there. Durable. A mail that is
  // known from now on is kept with it: of one that is, nothing is told any more.
  void Store(const JournalEntry& entry, const std::optional<KnownMail>& mail = {});
  // The same, and not durable: for what was not sent, but found where it would be found again.
  void StoreFound(const JournalEntry& entry, const std::optional<KnownMail>& mail = {});
  // Of an item that cannot be read now; an entry that says that it has arrived stays. Not durable.
  void StoreUnread(const JournalEntry& entry);

  // By folder and hash.
  std::optional<KnownMail> MailOf(std::string_view folder, std::string_view hash);
  // In place of what is known of that folder and hash. Not durable.
  void KeepMail(const KnownMail& mail);
  // Hands over every mail that the run brought and did not take away again, by folder.
  void EachBrought(const std::function<void(const KnownMail&)>& take);

  // Of an item that has arrived: it was sent that often, and the target shows fewer. Its server may
  // bring the others yet: until somebody has looked for them, it is kept. Not durable.
  struct LateItem {
    JournalEntry entry;
    std::string ledgerKey;
    std::string messageId;
    std::size_t sent = 0;
    std::size_t shown = 0;
  };
  void KeepLate(const LateItem& item);
  std::vector<LateItem> LateItems();
  // They were looked for: the item, which may lie elsewhere in its source by now, has that text.
  void EndLate(const JournalEntry& entry);

  // What folders took when items first went there; a kind that is kept stays. Not durable.
  std::map<std::string, std::int32_t> FolderKinds();
  void KeepFolderKinds(const std::map<std::string, std::int32_t>& kinds);

  // Where earlier runs put what is in that holder, a folder of the target; and from now on, in
  // place of what is known of these. Not durable.
  std::optional<std::string> PlaceOf(const Holder& holder);
  void KeepPlaces(const FolderPlaces& places);
  // Of all holders that it keeps a place of.
  std::set<std::string, std::less<>> HolderPaths();
  // Something of that file or folder of a source, or of a folder below it, went to that folder, did
  // not fail and was not taken away again.
  bool HasPut(const std::string& path, std::string_view folder);
  // Earlier runs had an item of that file or folder, whatever became of it.
  bool HasItemsOf(const std::string& path);

  // All target folders that items were named for, as they were spelled then.
  std::vector<std::string> Folders();

  // True if no command ever left.
  bool IsNew();
  // Says that a command about the item with that key in that folder is about to leave. Until a
  // result is stored that says what became of it, by this run or a later one, its outcome is open.
  // Durable.
  void Begin(std::string_view folder, std::string_view key);
  struct OpenOutcome {
    // The last command left, whatever was done to the clock; 0, too, where the machine has been
    // started since, and nobody can tell.
    std::chrono::seconds since{0};
    int tries = 0;  // commands that left
  };
  std::optional<OpenOutcome> OpenFor(std::string_view folder, std::string_view key);
  struct ItemName {
    std::string folder;
    std::string key;
    bool operator==(const ItemName&) const = default;
  };
  // Of the last command that left, whatever became of its item.
  std::optional<ItemName> LastBegun();
  // True if the last that became of it is that it is there without its attachments.
  bool IsIncomplete(std::string_view folder, std::string_view key);
  // The keys of all that is open in that folder.
  std::vector<std::string> OpenKeys(std::string_view folder);
  // Nothing came of what was begun, and nothing will. Not durable.
  void Forget(std::string_view folder, std::string_view key);

  // What is kept of an item; the views are good until the next one.
  struct ItemRow {
    std::string_view source;
    std::string_view key;
    ItemResult result;
  };
  void EachItem(const std::function<void(const ItemRow&)>& take);
  // What arrived and was not taken away again; the views are good until the next one.
  struct ArrivedRow {
    std::string_view source;
    std::string_view folder;
    std::string_view hash;
  };
  void EachThere(const std::function<void(const ArrivedRow&)>& take);
  std::optional<JournalEntry> EntryAt(std::string_view source);
  // Forgets every item and mail, and what it was to be known by. Durable.
  void ForgetAll();

  // What came to that result with a text that holds that part, by source.
  std::vector<JournalEntry> EndedWith(ItemResult result, std::string_view part);

  bool HasArrivals();
  bool HasArrivalsIn(std::string_view folder);
  // What has arrived in that folder, by source, but for mails that are known as such.
  std::vector<JournalEntry> ArrivedIn(std::string_view folder);
  // The entry is known by another place in the source from now on. Not durable.
  void Move(const JournalEntry& entry, std::string_view to);

  // The key under which the ledger is to know a mail with this content: wantedKey for the first
  // content that asks for it in that folder, a key with the hash appended for any other. The same
  // question always gets the same answer.
  std::string ClaimKey(std::string_view folder, std::string_view wantedKey, std::string_view hash);
  // Whether that question was ever asked.
  bool HasClaimed(std::string_view folder, std::string_view wantedKey, std::string_view hash);
  bool IsClaimed(std::string_view folder, std::string_view key);
  // True if content with another hash owns that key; and makes this content its owner.
  bool IsClaimedByOther(std::string_view folder, std::string_view key, std::string_view hash);
  void Reclaim(std::string_view folder, std::string_view key, std::string_view hash);

  // The hash that owns the key.
  std::optional<std::string> OwnerOf(std::string_view folder, std::string_view key);

 private:
  bool Claim(std::string_view folder, std::string_view key, std::string_view hash);
  void RunDurably(platform::SqliteStatement& statement);

  platform::SqliteDatabase m_database;
};

}  // namespace client
