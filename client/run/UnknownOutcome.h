#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "client/run/ItemLoader.h"
#include "client/run/LedgerLook.h"
#include "client/run/TargetLook.h"

namespace client {

// What the target says about an item of which nobody knows whether a server took it.
struct TargetAnswer {
  enum class Kind {
    kThere,
    kAbsent,
    kNotAsked,     // it cannot be asked for this item
    kUnreachable,  // just now
  };
  Kind kind = Kind::kAbsent;
  std::size_t copies = 0;  // how often it is there
  std::string reason;      // why it could not be asked
  bool isOutage = false;   // of what is unreachable: it may answer once the server is back

  bool WasAsked() const { return kind == Kind::kThere || kind == Kind::kAbsent; }
};

// "it is there twice"; empty for less.
std::string CopiesText(std::size_t copies);
// "may be there twice: the target could not be asked (reason)", by which later runs know it.
std::string DoubtText(std::size_t copies, const std::string& reason);
inline constexpr const char* kCouldNotAsk = "the target could not be asked";
// "twice", "3 times".
std::string TimesText(std::size_t times);
// ", up to 3 times"; empty for once.
std::string UpTo(std::size_t times);

// How many of the items that a search for key and id brought are this item. One with its key is.
// One without any key may be: the id is all that is known of what a server took without our key.
// Of those, as many belong to others as the ledger knows of that id and as show no key of theirs.
class CopyCount {
 public:
  explicit CopyCount(std::string keyOnItem, std::string messageId)
      : m_key(std::move(keyOnItem)), m_messageId(std::move(messageId)) {}
  void Add(const ews::FoundItem& found);
  std::size_t Copies(std::size_t arrivedWithId) const;

 private:
  std::string m_key;
  std::string m_messageId;
  std::size_t m_own = 0;      // with the key
  std::size_t m_others = 0;   // with the id and another key
  std::size_t m_keyless = 0;  // with the id and no key
};

// How long a server may go on with a request that it worked on for that time before it was lost.
std::chrono::seconds TimeToFinish(std::chrono::milliseconds workedOn);

// Waits that long; false when a request to stop came.
bool WaitFor(std::chrono::milliseconds time);

// Asks the target for items whose outcome is open.
class UnknownOutcome {
 public:
  // On which of the items that runs with this folder sent the engine wrote a key. Where on all,
  // one without is somebody else's, whatever its message id.
  enum class Keyed { kNone, kSome, kAll };

  // All must outlive this.
  UnknownOutcome(TargetLook& look, LedgerLook& ledger, std::string login, Keyed keyed)
      : m_look(look), m_ledger(ledger), m_login(std::move(login)), m_keyed(keyed) {}

  // Asks until the item is there or that time is over: a server may still be at work on a request
  // whose connection is gone. A request to stop ends it.
  TargetAnswer Ask(const std::string& folder, const LoadedItem& item, std::chrono::seconds time);
  // Asks now; a second time where the target refuses.
  TargetAnswer AskOnce(const std::string& folder, const LoadedItem& item);
  // Counts what a lost try left of a series, too: it is there for people, though it is not whole
  // and another try would have taken it away.
  TargetAnswer CountOnce(const std::string& folder, const LoadedItem& item);

 private:
  enum class Unfinished { kPassedOver, kCounted };
  struct Names {  // either may be empty
    std::string key;
    std::string id;
  };
  TargetAnswer AskOnce(const std::string& folder, const LoadedItem& item, Unfinished unfinished);
  // One question for what has one of the names.
  TargetAnswer Search(const std::string& folder, const LoadedItem& item, const Names& names,
                      Unfinished unfinished);

  TargetLook& m_look;
  LedgerLook& m_ledger;
  std::string m_login;
  Keyed m_keyed;
};

}  // namespace client
