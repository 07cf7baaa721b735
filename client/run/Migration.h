#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/run/Adoption.h"
#include "client/run/ArrivedItems.h"
#include "client/run/EarlierDoubts.h"
#include "client/run/FailuresInARow.h"
#include "client/run/IncompleteItems.h"
#include "client/run/ItemLoader.h"
#include "client/run/ItemSender.h"
#include "client/run/ItemTries.h"
#include "client/run/ItemsAside.h"
#include "client/run/Journal.h"
#include "client/run/LateCopies.h"
#include "client/run/LedgerLook.h"
#include "client/run/LedgerWriter.h"
#include "client/run/Outcome.h"
#include "client/run/Plan.h"
#include "client/run/RunMessages.h"
#include "client/run/SecondPass.h"
#include "client/run/Summary.h"
#include "client/run/TargetLook.h"
#include "client/run/UnknownOutcome.h"

namespace client {

// Sends the items of a plan through an engine, one after the other, and makes sure of each: what
// counts is the item's row in the engine's ledger, looked for after each result. Where a request
// may have been carried out and no row tells, the target is asked before the item is sent again.
class Migration {
 public:
  // Throws platform::SqliteError when the journal cannot be used. `journal` must outlive this.
  Migration(RunSetup setup, Journal& journal, const Say& say, OnStep onStep);

  Summary Run(const Plan& plan);

 private:
  // True if the item was sent now.
  bool TakeUp(const ItemsAside::One& one, const TryLimit& limit);
  void TakeUpAside();
  void TakeUpRest();
  Outcome Handle(const Plan::Entry& entry);
  bool IsKnown(ItemWork& work);
  bool IsKnownMail(ItemWork& work);
  static bool WantsFiles(const ItemWork& work, bool known);
  void Name(ItemWork& work);
  void NameByContent(ItemWork& work);
  // Tells the journal of an earlier version that the target holds and that it does not know.
  void AdoptVersion(const ItemWork& work);
  void TakeOverDoubt(ItemWork& work);
  // Of an item that runs brought; its keys must be filled in where no mail is known.
  Outcome KnownAgain(const ItemWork& work);
  Outcome HandleWork(ItemWork& work, bool found);
  // Of an item that arrived and may have done so more than once.
  void TellCopies(ItemWork& work, Outcome& outcome);
  void TakeOverLate(const Plan& plan);
  void LookForLateCopies();
  void TellMissing(const Plan& plan);
  void TellStaying(const std::string& what, std::size_t mails, const std::string& why);
  void TakeAway(const std::vector<KnownMail>& mails);
  // Those without items; each that is not there then is a failure.
  void MakeFolders(const std::vector<std::string>& folders);
  std::string MakeFolder(const std::string& folder);
  // What an item did not carry that was sent now, or by an earlier run that was cut off with it.
  NotCarried NotCarriedBy(const ItemWork& work, const Outcome& outcome);
  void TellNotCarried(const ItemWork& work, Outcome& outcome);
  std::optional<NotCarried> LastTry() const;
  // The end of an item of which the target holds an earlier version; nothing for any other.
  std::optional<Outcome> WhereChanged(const ItemWork& work);
  static Outcome WithDoubt(const ItemWork& work, Outcome outcome);
  static std::optional<KnownMail> MailOf(const ItemWork& work, const Outcome& outcome);
  static JournalEntry EntryOf(const ItemWork& work, const Outcome& outcome);
  void Keep(const ItemWork& work, const Outcome& outcome);
  void Note(const Plan::Entry& entry, const Outcome& outcome);
  // A reason to stop the run now, or empty.
  std::string StopReason(const Plan::Entry& entry, const Outcome& outcome);
  void Finish(const Plan& plan);

  RunSetup m_setup;
  Journal& m_journal;
  OnStep m_onStep;
  Say m_say;
  LedgerLook m_ledger;
  LedgerWriter m_rows;
  ItemLoader m_loader;
  ItemSender m_sender;
  std::unique_ptr<TargetLook> m_look;
  std::optional<Adoption> m_adoption;
  std::optional<ArrivedItems> m_arrived;
  UnknownOutcome m_unknown;
  ItemTries m_tries;
  LateCopies m_late;
  EarlierDoubts m_doubts;
  IncompleteItems m_incomplete;
  SecondPass m_second;
  bool m_mayBeOlder;  // its journal may be of an earlier version
  FailuresInARow m_inARow;
  TryLimit m_limit;                     // of the item in work
  bool m_wasSent = false;               // it was, before it was put aside
  std::optional<NotCarried> m_lastTry;  // of that
  ItemsAside m_aside;
  std::vector<bool> m_noted;  // items, by their numbers
  // The last item of the runs before, and how it arrived, if it arrived.
  std::optional<Journal::ItemName> m_lastBegun;
  Reduction m_endedReduced = Reduction::kNone;
  Summary m_summary;
};

}  // namespace client
