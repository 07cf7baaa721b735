#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "client/run/Adoption.h"
#include "client/run/ArrivedItems.h"
#include "client/run/ItemLoader.h"
#include "client/run/ItemSender.h"
#include "client/run/Journal.h"
#include "client/run/LateCopies.h"
#include "client/run/LedgerLook.h"
#include "client/run/LedgerWriter.h"
#include "client/run/Outcome.h"
#include "client/run/Plan.h"
#include "client/run/RunMessages.h"
#include "client/run/SecondPass.h"
#include "client/run/TargetLook.h"
#include "client/run/UnknownOutcome.h"
#include "ews/Outage.h"

namespace client {

// What a run came to.
struct Summary {
  std::uint64_t total = 0;
  std::uint64_t sent = 0;
  std::uint64_t known = 0;    // arrived before this run, or the same mail twice in one folder
  std::uint64_t equal = 0;    // of these, mails that are the same as one before in their folder
  std::uint64_t updated = 0;  // the same, and its state changed since
  std::uint64_t reduced = 0;  // arrived without what made them too large for the target
  std::uint64_t failed = 0;
  std::uint64_t notConfirmed = 0;
  std::uint64_t seen = 0;   // items that were looked at before a stop
  std::uint64_t waits = 0;  // for a server that did not answer
  std::uint64_t waitedSeconds = 0;
  std::uint64_t foldersMissing = 0;  // without items, and could not be made
  std::string stopped;               // why the run stopped early; empty when it did not
  std::vector<SourceProblem> failures;
  std::vector<SourceProblem> remarks;  // arrived, with a text
  // What the run brought and the source has not any more: where it lay, and its folder.
  std::vector<SourceProblem> missing;
  std::uint64_t takenAway = 0;  // of those, to the target's deleted items
  std::uint64_t staying = 0;    // of those, though asked to be taken away
  // Of earlier runs: what may be there twice, and what arrived reduced.
  std::vector<SourceProblem> doubts;

  bool Complete() const {
    return stopped.empty() && failed == 0 && notConfirmed == 0 && reduced == 0 &&
           foldersMissing == 0 && staying == 0;
  }
};

// Sends the items of a plan through an engine, one after the other, and makes sure of each: what
// counts is the item's row in the engine's ledger, looked for after each result. Where a request
// may have been carried out and no row tells, the target is asked before the item is sent again.
class Migration {
 public:
  // Throws platform::SqliteError when the journal cannot be used. `journal` must outlive this.
  Migration(RunSetup setup, Journal& journal, const Say& say, OnStep onStep);

  Summary Run(const Plan& plan);

 private:
  // The item in work.
  struct Work {
    explicit Work(const Plan::Entry& ofPlan) : entry(ofPlan) {}

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
  };
  // Where a try ends without saying what became of it, or by an outage that made nothing.
  enum class OpenEnd { kNone, kServer, kEngine, kNothingMade };
  // How often an item is tried in an outage, 0 for as often as the patience allows, and what it
  // comes to then.
  struct Limit {
    int tries;
    Outcome::Kind end;
  };
  static constexpr Limit kAsLongAsPatienceAllows{0, Outcome::Kind::kLeft};
  // An item that waits for others, and tries behind those that came through.
  struct Aside {
    const Plan::Entry* entry;
    int passes = 0;
    bool wasSent = false;  // in this run
  };

  // True if the item was sent now.
  bool TakeUp(const Aside& one, const Limit& limit);
  void TakeUpAside();
  void TakeUpRest();
  Outcome Handle(const Plan::Entry& entry);
  bool IsEqualToAnother(const Work& work);
  bool IsKnown(Work& work);
  bool IsKnownMail(Work& work);
  void Name(Work& work);
  void NameByContent(Work& work);
  void TakeOverDoubt(Work& work);
  // Of an item that is in the target; its keys must be filled in where nothing is known of it.
  Outcome KnownAgain(const Work& work);
  Outcome HandleWork(Work& work, bool found);
  std::optional<LostTry> Lost(std::chrono::steady_clock::time_point at,
                              std::chrono::seconds toFinish) const;
  Outcome SendUntilSettled(Work& work);
  OpenEnd Try(Work& work, Outcome& outcome);
  OpenEnd SendOnce(Work& work, Outcome& outcome);
  std::optional<std::chrono::seconds> OutageIn(const Outcome& outcome) const;
  int MostTries(const Outcome& outcome) const;
  Outcome AtLimit(Outcome outcome) const;
  bool Pause(Work& work, const Outcome& failure, int tries, Outcome& outcome);
  bool WaitOut(const std::string& text, std::chrono::seconds asked, Outcome& outcome);
  void EndOutage();
  // Where the item's outcome is open, asks the target for that time, or for as long as a server may
  // be at work on the last try. True with the outcome where there is to be no further try.
  bool Settle(Work& work, Outcome::Kind there, std::chrono::seconds time, Outcome& outcome);
  bool SettleSent(Work& work, Outcome& outcome);
  bool IsFolderGone(const std::string& folder);
  // Of an item that arrived and may have done so more than once.
  void TellCopies(Work& work, Outcome& outcome);
  void LookForLateCopies();
  void TellMissing(const Plan& plan);
  void TakeAway(const SecondPass::Gone& gone);
  // Those without items; each that is not there then is a failure.
  void MakeFolders(const std::vector<std::string>& folders);
  std::string MakeFolder(const std::string& folder);
  // Of an item whose outcome stayed open through all tries.
  Outcome GivenUp(const Work& work, Outcome outcome);
  // What an item that was sent now did not carry.
  void TellLeftOut(Outcome& outcome);
  // The end of an item of which the target holds an earlier version; nothing for any other.
  std::optional<Outcome> WhereChanged(const Work& work);
  // An item that was sent, or is known although it cut off an earlier run that had reduced it.
  void TellReduced(const Work& work, Reduction cutOff, Outcome& outcome);
  static Outcome WithDoubt(const Work& work, Outcome outcome);
  // The row of an item that was found in the target; returns a remark where it cannot be entered.
  std::string EnterRow(const Work& work);
  static JournalEntry EntryOf(const Work& work, const Outcome& outcome);
  void Keep(const Work& work, const Outcome& outcome);
  void Note(const Plan::Entry& entry, const Outcome& outcome);
  // A reason to stop the run now, or empty.
  std::string StopReason(const Plan::Entry& entry, const Outcome& outcome);
  void Finish(const Plan& plan, std::vector<JournalEntry> doubts);
  std::vector<JournalEntry> StillUnknown();

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
  LateCopies m_late;
  SecondPass m_second;
  bool m_mayBeOlder;          // its journal may be of an earlier version
  std::string m_lastFailure;  // that can end a run, without its digits
  int m_failuresInARow = 0;
  bool m_gaveUp = false;                    // on the last item that was sent
  Limit m_limit = kAsLongAsPatienceAllows;  // of the item in work
  bool m_wasSent = false;                   // it was, before it was put aside
  std::deque<Aside> m_aside;
  std::optional<ews::Outage> m_outage;           // that items meet, and questions may not
  std::unordered_set<std::string_view> m_noted;  // locations of items
  std::unordered_set<std::size_t> m_contents;    // of mails and their folders; hashes
  // How the last item of the runs before arrived, if it arrived.
  Reduction m_endedReduced = Reduction::kNone;
  Summary m_summary;
};

}  // namespace client
