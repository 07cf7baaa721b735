#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "client/run/ItemLoader.h"
#include "client/run/ItemSender.h"
#include "client/run/Journal.h"
#include "client/run/LateCopies.h"
#include "client/run/LedgerWriter.h"
#include "client/run/Outcome.h"
#include "client/run/Plan.h"
#include "client/run/RunMessages.h"
#include "client/run/TargetLook.h"
#include "client/run/UnknownOutcome.h"
#include "ews/Outage.h"

namespace client {

// The item in work.
struct ItemWork {
  explicit ItemWork(const Plan::Entry& ofPlan) : entry(ofPlan) {}

  const Plan::Entry& entry;
  LoadedItem item;
  bool isEqual = false;              // to another mail of its folder, which is taken up already
  std::size_t sent = 0;              // tries, earlier runs' too, that may have been carried out
  std::optional<std::size_t> shown;  // how often the target has it
  // Why the target could not be asked after a try that may have been carried out.
  std::string notAsked;
  std::optional<LostTry> lost;    // the last one; nothing where no server can be at it any longer
  std::optional<KnownMail> mail;  // as earlier passes knew it
  std::string olderHash;          // by which runs of an earlier version knew it
  bool wasBegun = false;          // an earlier run was cut off with it
  bool isIncomplete = false;      // it is in the target without its attachments
};

// How often an item is tried in an outage, 0 for as often as the patience allows, and what it comes
// to then.
struct TryLimit {
  std::size_t tries = 0;
  Outcome::Kind end = Outcome::Kind::kAside;
};

// Sends items until it is settled what became of each: tries again behind an outage, and asks the
// target before each further try of what may have been carried out.
class ItemTries {
 public:
  // All must outlive this.
  ItemTries(const RunSetup& setup, Journal& journal, ItemSender& sender, TargetLook& look,
            UnknownOutcome& unknown, LedgerWriter& rows, Say say)
      : m_setup(setup),
        m_journal(journal),
        m_sender(sender),
        m_look(look),
        m_unknown(unknown),
        m_rows(rows),
        m_say(std::move(say)) {}

  Outcome SendUntilSettled(ItemWork& work, const TryLimit& limit);
  // Of all items so far.
  std::size_t Count() const { return m_count; }
  // Where the item's outcome is open, asks the target for that time, or for as long as a server may
  // be at work on the last try. True with the outcome where there is to be no further try.
  bool Settle(ItemWork& work, Outcome::Kind there, std::chrono::seconds time, Outcome& outcome);
  // A try that was lost then; nothing where nobody can be at work on it.
  std::optional<LostTry> Lost(std::chrono::steady_clock::time_point at,
                              std::chrono::seconds toFinish) const;
  // How long a server may go on with a request that it worked on for that time before it was lost:
  // as long as it took for one of this run that came through, or longer.
  std::chrono::seconds ToFinish(std::chrono::milliseconds workedOn) const;
  // The row of an item that was found in the target; returns a remark where it cannot be entered.
  std::string EnterRow(const ItemWork& work);

 private:
  // Where a try ends without saying what became of it, or by an outage that made nothing.
  enum class OpenEnd { kNone, kServer, kEngine, kNothingMade };

  OpenEnd Try(ItemWork& work, Outcome& outcome);
  OpenEnd SendOnce(ItemWork& work, Outcome& outcome);
  OpenEnd EndedEngine(ItemWork& work, Outcome& outcome);
  std::optional<std::chrono::seconds> OutageIn(const Outcome& outcome) const;
  std::size_t MostTries(const Outcome& outcome) const;
  static Outcome AtLimit(Outcome outcome, Outcome::Kind end);
  bool Pause(ItemWork& work, const Outcome& failure, std::size_t tries, Outcome& outcome);
  bool WaitOut(const std::string& text, std::chrono::seconds asked, Outcome& outcome);
  static bool IsPatienceOver();
  void EndOutage();
  bool SettleSent(ItemWork& work, Outcome& outcome);
  bool IsFolderGone(const std::string& folder);
  // Of an item whose outcome stayed open through all tries.
  Outcome GivenUp(const ItemWork& work, Outcome outcome);

  const RunSetup& m_setup;
  Journal& m_journal;
  ItemSender& m_sender;
  TargetLook& m_look;
  UnknownOutcome& m_unknown;
  LedgerWriter& m_rows;
  Say m_say;
  std::size_t m_count = 0;
  bool m_gaveUp = false;                // on the last item that was sent
  std::optional<ews::Outage> m_outage;  // that items meet, and questions may not
};

}  // namespace client
