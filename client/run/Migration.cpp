#include "client/run/Migration.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <new>
#include <optional>
#include <string_view>
#include <unordered_map>

#include <fmt/format.h>

#include "client/run/MailKey.h"
#include "client/run/NewFile.h"
#include "client/run/ReducedMail.h"
#include "client/run/StopRequest.h"
#include "client/run/StoreLook.h"
#include "ews/EwsTransport.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "platform/EndpointClient.h"
#include "platform/Sha256.h"

namespace client {

using namespace std::chrono_literals;

namespace {

constexpr int kMostDeaths = 2;   // of the engine, on one item
constexpr int kMostTries = 6;    // to send one item whose outcome is open again and again
constexpr int kMostRefused = 2;  // the same where what leaves it open is much like a refusal
// Of an item that meets an outage: tries before others are taken up, to see whether all fare the
// same; items that wait for others; and tries of such a one, each behind others that came through.
constexpr int kTriesInARow = 4;
constexpr std::size_t kMostAside = 3;
constexpr int kMostPasses = 3;
constexpr std::chrono::seconds kLong{5};         // the target is asked again behind a pause of that
constexpr std::chrono::minutes kFreshDoubt{10};  // an older one is over, however slow its server
constexpr int kMostFailuresInARow = 20;          // with the same text
constexpr std::string_view kChanged = "it has been changed since it was sent";

// Failures of the way to the target, as the engine words them; a server's own answers are not. What
// a store says of itself, and not of an item, names its file.
bool IsOfTarget(const Target& target, const std::string& text) {
  if (target.Store()) return text.find("the store " + target.StoreFile()) != std::string::npos;
  return text.find("The request failed.") != std::string::npos || text == kNotRenewed;
}

// The same failure tells other times and ports from one item to the next.
std::string WithoutDigits(std::string text) {
  std::erase_if(text, [](char c) { return c >= '0' && c <= '9'; });
  return text;
}

// "The request failed. The server mail.example.com answered HTTP 403 (…)."
bool IsLikeARefusal(std::string_view text) {
  return text.starts_with("The request failed. The server ") &&
         text.find(" answered HTTP 4") != std::string_view::npos;
}

// Counts as a wait what it takes to look into the target, but for what is told of meanwhile.
class CountedLook {
 public:
  explicit CountedLook(ServerWaits& waits) : m_waits(waits), m_told(waits.Time()) {}
  ~CountedLook() {
    const auto whole =
        std::chrono::duration_cast<std::chrono::milliseconds>(ServerWaits::Clock::now() - m_begun);
    const auto own = whole - (m_waits.Time() - m_told);
    if (own >= 1s) m_waits.Add(own);
  }
  CountedLook(const CountedLook&) = delete;
  CountedLook& operator=(const CountedLook&) = delete;

 private:
  ServerWaits& m_waits;
  const ServerWaits::Clock::time_point m_begun = ServerWaits::Clock::now();
  const std::chrono::milliseconds m_told;
};

std::string Joined(const std::string& text, const std::string& more) {
  return text.empty() || more.empty() ? text + more : ews::WithoutStop(text) + "; " + more;
}

// ", up to 3 times"; empty for once.
std::string UpTo(std::size_t times) {
  return times < 2 ? std::string() : ", up to " + TimesText(times);
}

// wasSent: there was a try that a slow server may still carry out, whatever became of a later one.
ItemResult ResultOf(const Outcome& outcome, bool wasSent) {
  if (outcome.Arrived()) return ItemResult::kArrived;
  if (outcome.kind == Outcome::Kind::kNotConfirmed) return ItemResult::kNotConfirmed;
  return wasSent ? ItemResult::kUnknown : ItemResult::kFailed;
}

}  // namespace

Migration::Migration(RunSetup setup, Journal& journal, const Say& say, OnStep onStep)
    : m_setup(std::move(setup)),
      m_journal(journal),
      m_onStep(std::move(onStep)),
      m_say(say),
      m_ledger(m_setup.run.File(std::string(kLedgerName))),
      m_rows(m_setup.run.File(std::string(kLedgerName))),
      m_loader(m_journal, m_ledger, m_setup.target.Login()),
      m_sender(m_setup, m_journal, m_ledger, say),
      m_look(LookAt(m_setup.target)),
      m_unknown(*m_look, m_ledger, m_setup.target.Login(), m_setup.IsSafe()),
      m_late(m_unknown),
      m_second(m_setup.target, *m_look, m_journal, m_rows, m_setup.IsSafe()),
      m_mayBeOlder(!m_journal.IsNew()) {}

Summary Migration::Run(const Plan& plan) {
  m_summary = {};
  m_summary.total = plan.entries.size();
  std::vector<JournalEntry> doubts;
  m_endedReduced = m_sender.EndedReduced();
  try {
    doubts = m_journal.EndedWith(ItemResult::kArrived, kCouldNotAsk);
    std::ranges::move(m_journal.EndedWith(ItemResult::kArrived, kReduced),
                      std::back_inserter(doubts));
    m_arrived.emplace(m_journal, plan);
    if (m_setup.adopt) m_adoption.emplace(*m_look, plan);
    for (const Plan::Entry& entry : plan.entries) {
      if (StopRequested()) m_summary.stopped = "asked to stop";
      if (!m_summary.stopped.empty()) break;
      const bool mayWait = m_aside.size() < kMostAside;
      const bool sent = TakeUp(
          {&entry}, mayWait ? Limit{kTriesInARow, Outcome::Kind::kAside} : kAsLongAsPatienceAllows);
      if (sent) TakeUpAside();
    }
    TakeUpRest();
    LookForLateCopies();
    if (m_summary.stopped.empty()) TellMissing(plan);
    if (m_summary.stopped.empty()) MakeFolders(plan.emptyFolders);
    std::ranges::move(StillUnknown(), std::back_inserter(doubts));
  } catch (const platform::SqliteError& error) {
    m_summary.stopped = std::string("the journal cannot be used: ") + error.what();
  } catch (const std::exception& error) {  // what was done so far is told all the same
    m_summary.stopped = error.what();
  }
  if (!m_summary.stopped.empty() && StopRequested()) m_summary.stopped = "asked to stop";
  Finish(plan, std::move(doubts));
  return std::move(m_summary);
}

void Migration::Finish(const Plan& plan, std::vector<JournalEntry> doubts) {
  // What an error kept from being looked for.
  m_late.Look(/*ask=*/false, [&](const LateCopies::Item& item, const std::string& remark) {
    m_summary.remarks.push_back({item.name, remark});
  });
  m_ledger.Close();  // before the engine, which tidies up only when it is the last one
  m_rows.Close();
  m_sender.Close();
  m_summary.waits = m_setup.waits->Count();
  m_summary.waitedSeconds =
      static_cast<std::uint64_t>((m_setup.waits->Time().count() + 500) / 1000);
  if (doubts.empty()) return;
  std::unordered_map<std::string_view, std::string_view> names;
  for (const Plan::Entry& entry : plan.entries) names.emplace(entry.item.location, entry.name);
  for (JournalEntry& doubt : doubts) {
    const auto name = names.find(doubt.source);
    m_summary.doubts.push_back(
        {name == names.end() ? doubt.source : std::string(name->second), std::move(doubt.text)});
  }
}

bool Migration::TakeUp(const Aside& one, const Limit& limit) {
  m_limit = limit;
  m_wasSent = one.wasSent;
  const Outcome outcome = Handle(*one.entry);
  if (outcome.kind == Outcome::Kind::kAside) {
    if (one.passes == 0) {
      m_say(fmt::format("{} is sent again when another item has come through", one.entry->name));
    }
    m_aside.push_back({one.entry, one.passes, /*wasSent=*/true});
    return false;
  }
  if (outcome.kind != Outcome::Kind::kLeft) Note(*one.entry, outcome);
  m_summary.stopped = StopReason(*one.entry, outcome);
  return outcome.kind == Outcome::Kind::kSent;
}

// An item by which the server fails where others come through fails by itself.
void Migration::TakeUpAside() {
  for (Aside one : std::exchange(m_aside, {})) {
    ++one.passes;
    const bool isLast = one.passes == kMostPasses;
    if (!m_summary.stopped.empty()) return;
    (void)TakeUp(one, {1, isLast ? Outcome::Kind::kFailed : Outcome::Kind::kAside});
  }
}

// There are no others any more that could tell: nothing has come through since is an outage.
void Migration::TakeUpRest() {
  for (const Aside& one : std::exchange(m_aside, {})) {
    if (!m_summary.stopped.empty()) return;
    const int left = kMostPasses - one.passes;
    (void)TakeUp(one, one.passes ? Limit{left, Outcome::Kind::kFailed} : kAsLongAsPatienceAllows);
  }
}

// What earlier runs could not tell and this one did not come to.
std::vector<JournalEntry> Migration::StillUnknown() {
  std::vector<JournalEntry> unknown = m_journal.EndedWith(ItemResult::kUnknown, "");
  std::erase_if(unknown, [&](const JournalEntry& entry) { return m_noted.contains(entry.source); });
  return unknown;
}

Outcome Migration::Handle(const Plan::Entry& entry) {
  Work work(entry);
  Outcome outcome;
  try {
    work.item = ItemLoader::Load(entry);
    work.isEqual = IsEqualToAnother(work);
    const bool known = IsKnown(work);
    if (known && work.isEqual) ++m_summary.equal;
    if (known && work.mail && !m_setup.adopt) return KnownAgain(work);
    if (known && !entry.IsMail() && !m_setup.adopt) return {Outcome::Kind::kKnown, {}};
    Name(work);
    // What stands for it in the target stands for no other.
    const bool found = m_adoption && m_adoption->Take(entry.item.folder, work.item);
    if (known) return KnownAgain(work);
    if (!found) {
      if (std::optional<Outcome> changed = WhereChanged(work)) return *changed;
    }
    Reduction cutOff = m_endedReduced;
    if (cutOff != Reduction::kNone && !m_journal.OpenFor(entry.item.folder, work.item.key)) {
      cutOff = Reduction::kNone;
    }
    outcome = HandleWork(work, found);
    if (outcome.kind == Outcome::Kind::kKnown && work.isEqual) ++m_summary.equal;
    TellLeftOut(outcome);
    TellReduced(work, cutOff, outcome);
    if (outcome.kind == Outcome::Kind::kKnown) {
      Outcome told = KnownAgain(work);
      outcome = {told.kind, Joined(outcome.text, told.text)};
    }
  } catch (const SourceError& error) {
    m_second.SeeUnread(entry);
    outcome = {Outcome::Kind::kFailed, error.what()};
  } catch (const WriteError& error) {
    outcome = {Outcome::Kind::kFailed, error.what()};
  } catch (const std::bad_alloc&) {
    outcome = {Outcome::Kind::kFailed, "is too large for the memory here"};
  }
  outcome = WithDoubt(work, std::move(outcome));
  TellCopies(work, outcome);
  Keep(work, outcome);
  return outcome;
}

// Mails of one folder whose bytes are the same are one mail there.
bool Migration::IsEqualToAnother(const Work& work) {
  if (!work.entry.IsMail()) return false;
  return !m_contents.insert(std::hash<std::string>()(work.entry.item.folder + work.item.hash))
              .second;
}

bool Migration::IsKnown(Work& work) {
  const Plan::Entry& entry = work.entry;
  if (ArrivedItems::Has(entry)) return m_arrived->Take(entry, work.item.hash);
  if (entry.IsMail()) return IsKnownMail(work);
  return m_journal.HasArrived(entry.item.location, entry.item.folder, work.item.hash);
}

bool Migration::IsKnownMail(Work& work) {
  const SourceItem& item = work.entry.item;
  m_second.See(work.entry, work.item);
  work.mail = m_journal.MailOf(item.folder, work.item.hash);
  if (work.mail) return work.mail->origin != KnownMail::Origin::kTakenAway;
  if (m_journal.HasArrived(item.location, item.folder, work.item.hash)) return true;
  if (!m_mayBeOlder) return false;
  std::string whole = platform::Sha256Hex(work.item.bytes);
  if (!m_journal.HasArrived(item.location, item.folder, whole)) return false;
  work.olderHash = std::move(whole);
  return true;
}

// The keys of an earlier version were made of all bytes.
void Migration::Name(Work& work) {
  NameByContent(work);
  if (ArrivedItems::Has(work.entry)) TakeOverDoubt(work);
}

// What was begun belongs to a place in the source. Where nothing lies there any more, it is an
// equal item's that has moved.
void Migration::TakeOverDoubt(Work& work) {
  const std::string& folder = work.entry.item.folder;
  if (work.item.key.empty() || m_journal.OpenFor(folder, work.item.key)) return;
  for (const std::string& key : m_journal.OpenKeys(folder)) {
    if (SharedKey(key) != SharedKey(work.item.key)) continue;
    const auto owner = m_journal.OwnerOf(folder, key);
    if (!owner || m_arrived->IsOfPlan(*owner, work.item)) continue;
    return m_loader.TakeOverKey(work.entry, key, work.item);
  }
}

void Migration::NameByContent(Work& work) {
  if (work.olderHash.empty()) return m_loader.Name(work.entry, work.item);
  std::swap(work.item.hash, work.olderHash);
  m_loader.Name(work.entry, work.item);
  std::swap(work.item.hash, work.olderHash);
}

Outcome Migration::KnownAgain(const Work& work) {
  using enum KnownMail::Origin;
  if (!work.entry.IsMail() || work.isEqual) return {Outcome::Kind::kKnown, {}};
  if (work.mail && work.mail->origin != kTakenAway) {
    return m_second.TellState(*work.mail, work.entry, work.item);
  }
  m_journal.KeepMail(SecondPass::MailOf(work.entry, work.item, work.wasBegun ? kBrought : kFound));
  return {Outcome::Kind::kKnown, {}};
}

Outcome Migration::HandleWork(Work& work, bool found) {
  m_sender.Mark();
  const auto open = m_journal.OpenFor(work.entry.item.folder, work.item.key);
  const bool isOld = open && open->since >= kFreshDoubt;
  work.wasBegun = open.has_value();
  if (open) work.sent = static_cast<std::size_t>(open->tries);
  if (open && !isOld) work.lost = Lost(ews::Transport().Now() - open->since, TimeToFinish({}));
  // A row without a journal entry: an earlier run was cut off between the two.
  if (m_sender.HasArrived(work.entry, work.item)) return {Outcome::Kind::kKnown, {}};
  if (found) return {Outcome::Kind::kKnown, EnterRow(work)};
  Outcome outcome;
  const auto time = work.lost ? work.lost->toFinish : 0s;
  const auto there = m_wasSent ? Outcome::Kind::kSent : Outcome::Kind::kKnown;
  if (Settle(work, there, time, outcome)) return outcome;
  if (isOld && work.notAsked.empty()) {
    m_journal.Forget(work.entry.item.folder, work.item.key);
    work.sent = 0;
  }
  return SendUntilSettled(work);
}

// Behind a store there is nobody who could still be at work when the engine is gone.
std::optional<LostTry> Migration::Lost(std::chrono::steady_clock::time_point at,
                                       std::chrono::seconds toFinish) const {
  if (m_setup.target.Store()) return std::nullopt;
  return LostTry{at, toFinish};
}

Outcome Migration::SendUntilSettled(Work& work) {
  Outcome outcome;
  int deaths = 0;
  for (int tries = 1;; ++tries) {
    const bool wasBlind = !work.notAsked.empty();
    const OpenEnd end = Try(work, outcome);
    if (end == OpenEnd::kNone) {
      if (outcome.kind != Outcome::Kind::kLeft) EndOutage();
      m_gaveUp = false;
      return outcome;
    }
    const auto outage = OutageIn(outcome);
    const bool isAsked = outage && outage->count() > 0;
    Outcome left;
    // Whoever asks for time is not asked either before that is over.
    if (isAsked && !WaitOut(outcome.text, *outage, left)) return left;
    if (end != OpenEnd::kNothingMade && SettleSent(work, left)) return left;
    if (end == OpenEnd::kEngine && ++deaths == kMostDeaths) {
      outcome.text += ", twice";
      return outcome;
    }
    // Unseen, each further try may be one copy more.
    if (wasBlind && !work.notAsked.empty()) return GivenUp(work, std::move(outcome));
    if (outage && tries == m_limit.tries && work.notAsked.empty())
      return AtLimit(std::move(outcome));
    if (!outage && tries == MostTries(outcome)) return GivenUp(work, std::move(outcome));
    if (!isAsked && !Pause(work, outcome, tries, left)) return left;
  }
}

// The engine's own words alone: with --as-is a server's stand as they are.
std::optional<std::chrono::seconds> Migration::OutageIn(const Outcome& outcome) const {
  return m_setup.IsSafe() ? ews::OutageIn(outcome.text) : std::nullopt;
}

int Migration::MostTries(const Outcome& outcome) const {
  return m_setup.IsSafe() && IsLikeARefusal(outcome.text) ? kMostRefused : kMostTries;
}

// The item was tried as often as it may be in an outage, just now or for good.
Outcome Migration::AtLimit(Outcome outcome) const {
  outcome.kind = m_limit.end;
  if (outcome.kind != Outcome::Kind::kFailed) return outcome;
  outcome.text = Joined(ews::WithoutOpenOutcome(outcome.text), "it alone, others come through");
  return outcome;
}

// Before the next try of an item. False with the outcome where there is to be none.
bool Migration::Pause(Work& work, const Outcome& failure, int tries, Outcome& outcome) {
  const auto begun = ews::Transport().Now();
  const bool isOutage = OutageIn(failure).has_value();
  // A connection that was lost is replaced once, whoever has no patience for more.
  const bool isWaited = isOutage && (tries > 1 || ews::Settings().nPatience > 0s);
  if (isWaited && !WaitOut(failure.text, 0s, outcome)) return false;
  std::chrono::seconds least = isOutage || tries == 1 ? 0s : 1s * (1 << (tries - 2));
  // The only try that is left is not spent at once.
  if (!work.notAsked.empty()) least = std::max(least, TimeToFinish({}));
  const auto rest = begun + least - ews::Transport().Now();
  if (!WaitFor(std::chrono::ceil<std::chrono::milliseconds>(rest))) {
    outcome = {Outcome::Kind::kLeft, "asked to stop"};
    return false;
  }
  const bool mayHaveCome = work.lost && ews::Transport().Now() - begun >= kLong;
  return !mayHaveCome || !SettleSent(work, outcome);
}

// Waits as for any outage (ews/Outage.h), from the first item that meets it to one that comes
// through. False with the outcome where nobody waits any more.
bool Migration::WaitOut(const std::string& text, std::chrono::seconds asked, Outcome& outcome) {
  ews::Failure failure;
  failure.bOutage = true;
  if (asked > 0s) failure.nBackOff = asked;
  if (!m_outage) {
    m_outage.emplace(ews::Transport(), "The target",
                     std::chrono::milliseconds(ews::ExchangeService::kDefaultTimeout),
                     ews::Outage::Repeat::kAlways);
  }
  try {
    m_outage->WaitAfter(ews::ServiceException(ews::WithoutOpenOutcome(text), failure));
    return true;
  } catch (const ews::ServiceException& end) {
    outcome = {Outcome::Kind::kLeft, end.what()};
    return false;
  }
}

void Migration::EndOutage() {
  if (m_outage) m_outage->End();
  m_outage.reset();
}

bool Migration::SettleSent(Work& work, Outcome& outcome) {
  auto time = 0s;
  if (work.lost) {
    const auto left = work.lost->at + work.lost->toFinish - ews::Transport().Now();
    time = std::max(std::chrono::ceil<std::chrono::seconds>(left), 0s);
  }
  if (!Settle(work, Outcome::Kind::kSent, time, outcome)) return false;
  if (outcome.Arrived()) EndOutage();
  return true;
}

// One item that meets this again and again may be what its server stumbles over; the next one that
// does says that the server is out of order.
Outcome Migration::GivenUp(const Work& work, Outcome outcome) {
  const bool isOfItself = IsLikeARefusal(outcome.text) && work.notAsked.empty();
  if (m_gaveUp && m_setup.IsSafe() && !isOfItself) outcome.kind = Outcome::Kind::kLeft;
  m_gaveUp = !isOfItself;
  if (isOfItself && m_setup.IsSafe()) {
    outcome.text = Joined(ews::WithoutOpenOutcome(outcome.text), "it is not in the target");
  }
  return outcome;
}

Migration::OpenEnd Migration::Try(Work& work, Outcome& outcome) {
  const auto begun = ews::Transport().Now();
  const OpenEnd end = SendOnce(work, outcome);
  if (end == OpenEnd::kServer || end == OpenEnd::kEngine) {
    const auto now = ews::Transport().Now();
    work.lost =
        Lost(now, TimeToFinish(std::chrono::duration_cast<std::chrono::milliseconds>(now - begun)));
  }
  return end;
}

Migration::OpenEnd Migration::SendOnce(Work& work, Outcome& outcome) {
  try {
    outcome = m_sender.SendOnce(work.entry, work.item);
  } catch (const platform::EndpointError&) {
    const std::string end = m_sender.DescribeEnd();
    m_say(fmt::format("The engine ended in the middle of {} ({}).", work.entry.name, end));
    outcome = {Outcome::Kind::kFailed, fmt::format("the engine ended on this item ({})", end)};
    if (m_journal.OpenFor(work.entry.item.folder, work.item.key)) ++work.sent;
    if (m_sender.HasArrived(work.entry, work.item)) outcome = {Outcome::Kind::kSent, {}};
    // One that waited for its server ends with the run.
    if (!outcome.Arrived() && StopRequested()) outcome.kind = Outcome::Kind::kLeft;
    return outcome.kind == Outcome::Kind::kFailed ? OpenEnd::kEngine : OpenEnd::kNone;
  }
  if (outcome.kind == Outcome::Kind::kFailed && SaysStoreGone(m_setup.target, outcome.text)) {
    ++work.sent;  // it may be in the file, wherever that is by now
    outcome = {Outcome::Kind::kLeft, StoreGoneText(m_setup.target)};
    return OpenEnd::kNone;
  }
  const bool isOpen = LeavesOutcomeOpen(outcome.text);
  if (outcome.kind != Outcome::Kind::kFailed || isOpen) ++work.sent;
  if (outcome.kind != Outcome::Kind::kFailed) return OpenEnd::kNone;
  if (isOpen) return OpenEnd::kServer;
  if (OutageIn(outcome)) return OpenEnd::kNothingMade;
  if (EndsRun(outcome.text)) outcome.kind = Outcome::Kind::kLeft;
  return OpenEnd::kNone;
}

bool Migration::Settle(Work& work, Outcome::Kind there, std::chrono::seconds time,
                       Outcome& outcome) {
  const std::string& folder = work.entry.item.folder;
  if (!m_journal.OpenFor(folder, work.item.key)) return false;
  if (time > TimeToFinish({})) {
    m_say(fmt::format("{}: its answer is lost; looking for it in the target, for up to {} s",
                      work.entry.name, time.count()));
  }
  const CountedLook look(*m_setup.waits);
  const TargetAnswer answer = m_unknown.Ask(folder, work.item, time);
  work.notAsked.clear();
  switch (answer.kind) {
    case TargetAnswer::Kind::kAbsent:
      if (IsFolderGone(folder)) work.notAsked = "its folder is not in the target any more";
      return false;
    case TargetAnswer::Kind::kThere: {
      const char* how = there == Outcome::Kind::kSent
                            ? "found in the target: its answer was lost"
                            : "found in the target: an earlier run could not tell";
      work.shown = answer.copies;
      outcome = {there, Joined(how, EnterRow(work))};
      return true;
    }
    case TargetAnswer::Kind::kNotAsked:
      work.notAsked = answer.reason;
      return false;
    case TargetAnswer::Kind::kUnreachable: {
      const bool ends = EndsRun(answer.reason) || StopRequested();
      outcome = {ends ? Outcome::Kind::kLeft : Outcome::Kind::kUnknown,
                 fmt::format("it may have arrived{}, and {}: {}", UpTo(work.sent), kCouldNotAsk,
                             answer.reason)};
      return true;
    }
  }
  return false;
}

// What was moved or renamed there may hold the item.
bool Migration::IsFolderGone(const std::string& folder) {
  return m_journal.HasArrivalsIn(folder) && !m_look->Has(folder);
}

void Migration::TellCopies(Work& work, Outcome& outcome) {
  if (!outcome.Arrived() || !work.notAsked.empty()) return;
  if (!work.shown && work.sent > 1) {
    const TargetAnswer answer = m_unknown.CountOnce(work.entry.item.folder, work.item);
    work.shown = std::max<std::size_t>(answer.copies, 1);
  }
  if (!work.shown) return;
  outcome.text = Joined(outcome.text, CopiesText(*work.shown));
  if (*work.shown >= work.sent || !work.lost) return;
  LoadedItem names;
  names.key = work.item.key;
  names.ledgerKey = work.item.ledgerKey;
  names.messageId = work.item.messageId;
  names.mayBeSeries = work.item.mayBeSeries;
  m_late.Watch({work.entry.name, EntryOf(work, outcome), std::move(names), work.sent, *work.shown},
               *work.lost);
}

void Migration::LookForLateCopies() {
  const bool ask = m_summary.stopped.empty();
  const auto left = std::chrono::ceil<std::chrono::seconds>(m_late.TimeLeft());
  if (ask && left > 0s) {
    m_say(
        fmt::format("Sent again since nobody could tell whether they had arrived: {}; looking in "
                    "{} s for what came late",
                    m_late.Count(), left.count()));
  }
  const CountedLook look(*m_setup.waits);
  m_late.Look(ask, [&](const LateCopies::Item& item, const std::string& remark) {
    m_summary.remarks.push_back({item.name, remark});
    JournalEntry entry = item.entry;
    entry.text = Joined(entry.text, remark);
    m_journal.StoreFound(entry);
  });
}

// A source that could not be read whole tells of nothing that it is not there.
void Migration::TellMissing(const Plan& plan) {
  if (!plan.IsWhole()) return;
  const SecondPass::Gone gone = m_second.Missing();
  for (const KnownMail& mail : gone.mails) m_summary.missing.push_back({mail.source, mail.folder});
  if (m_setup.deleteMissing) TakeAway(gone);
}

void Migration::TakeAway(const SecondPass::Gone& gone) {
  const bool isAll = !gone.mails.empty() && gone.mails.size() == gone.brought;
  for (const KnownMail& mail : gone.mails) {
    if (StopRequested()) {
      m_summary.stopped = "asked to stop";
      return;
    }
    const std::string reason =
        isAll ? "nothing of what was brought is in the source any more; is it the right one?"
              : m_second.TakeAway(mail);
    ++(reason.empty() ? m_summary.takenAway : m_summary.staying);
    if (!reason.empty()) m_summary.failures.push_back({mail.source, "stays there: " + reason});
  }
}

void Migration::MakeFolders(const std::vector<std::string>& folders) {
  for (const std::string& folder : folders) {
    if (StopRequested()) m_summary.stopped = "asked to stop";
    if (!m_summary.stopped.empty()) return;
    const std::string reason = MakeFolder(folder);
    if (reason.empty()) continue;
    ++m_summary.foldersMissing;
    m_summary.failures.push_back({folder, reason});
  }
}

// The engine keeps to itself why a folder could not be made until an item is to go into it.
std::string Migration::MakeFolder(const std::string& folder) {
  try {
    if (m_look->Has(folder)) return {};
    if (std::string reason = m_sender.MakeFolder(folder); !reason.empty()) return reason;
    return m_look->Has(folder) ? std::string() : "the folder could not be made";
  } catch (const platform::EndpointError&) {
    return fmt::format("the engine ended on this folder ({})", m_sender.DescribeEnd());
  } catch (const ews::ServiceException& error) {
    return error.what();
  }
}

void Migration::TellLeftOut(Outcome& outcome) {
  if (outcome.kind != Outcome::Kind::kSent) return;
  const LeftOut& left = m_sender.Left();
  outcome.text = Joined(LeftOutText(left), outcome.text);
  if (left.isReduced) ++m_summary.reduced;
}

// An earlier version stands in the target, where its user may have gone on with it: it is neither
// doubled nor overwritten.
std::optional<Outcome> Migration::WhereChanged(const Work& work) {
  const std::string& folder = work.entry.item.folder;
  const std::vector<std::string> versions = m_arrived->EarlierVersions(work.entry, work.item);
  if (versions.empty() || m_journal.OpenFor(folder, work.item.key)) return std::nullopt;
  for (const std::string& key : versions) {
    LoadedItem names;
    names.key = key;
    names.elsewhere = work.item.elsewhere;
    const TargetAnswer answer = m_unknown.AskOnce(folder, names);
    if (answer.kind == TargetAnswer::Kind::kAbsent) continue;
    const bool ends = EndsRun(answer.reason) || StopRequested();
    std::string text = fmt::format("{}: UID {} is there already", kChanged, IdInKey(key));
    if (!answer.WasAsked()) {
      text += fmt::format(", unless it was deleted: {} ({})", kCouldNotAsk, answer.reason);
    }
    return Outcome{ends ? Outcome::Kind::kLeft : Outcome::Kind::kFailed,
                   text + "; it was left as it is, and this one comes once that is deleted there"};
  }
  return std::nullopt;
}

void Migration::TellReduced(const Work& work, Reduction cutOff, Outcome& outcome) {
  Reduction reduction = Reduction::kNone;
  if (outcome.kind == Outcome::Kind::kSent) reduction = m_sender.SentReduced();
  if (outcome.kind == Outcome::Kind::kKnown) reduction = cutOff;
  if (reduction == Reduction::kNone) return;
  const std::string text = ReducedText(work.entry, work.item, reduction, m_setup.IsSafe());
  outcome.text = Joined(text, outcome.text);
  ++m_summary.reduced;
}

Outcome Migration::WithDoubt(const Work& work, Outcome outcome) {
  if (work.notAsked.empty()) return outcome;
  if (outcome.Arrived() || outcome.kind == Outcome::Kind::kNotConfirmed) {
    outcome.text = Joined(outcome.text, DoubtText(work.sent, work.notAsked));
    return outcome;
  }
  const std::string doubt =
      work.sent < 2 ? "it may have arrived before" : "it may be there" + UpTo(work.sent);
  outcome.text =
      Joined(outcome.text, fmt::format("{}: {} ({})", doubt, kCouldNotAsk, work.notAsked));
  if (outcome.kind == Outcome::Kind::kFailed) outcome.kind = Outcome::Kind::kUnknown;
  return outcome;
}

std::string Migration::EnterRow(const Work& work) {
  if (work.item.ledgerKey.empty()) return {};
  try {
    m_rows.Enter(work.entry.item.folder, work.item.ledgerKey, m_setup.target.Login());
    return {};
  } catch (const platform::SqliteError& error) {
    m_rows.Close();
    return fmt::format("the ledger has no row for it ({})", error.what());
  }
}

JournalEntry Migration::EntryOf(const Work& work, const Outcome& outcome) {
  return {work.entry.item.location,
          work.entry.item.folder,
          work.item.hash,
          work.item.key,
          ResultOf(outcome, work.sent > 0),
          outcome.text};
}

void Migration::Keep(const Work& work, const Outcome& outcome) {
  if (outcome.kind == Outcome::Kind::kLeft || outcome.kind == Outcome::Kind::kAside) {
    if (work.sent == 0) m_journal.Forget(work.entry.item.folder, work.item.key);
    return;
  }
  if (outcome.kind == Outcome::Kind::kSent && work.entry.IsMail()) {
    m_journal.KeepMail(SecondPass::MailOf(work.entry, work.item, KnownMail::Origin::kBrought));
  }
  const JournalEntry entry = EntryOf(work, outcome);
  if (entry.hash.empty()) return m_journal.StoreUnread(entry);
  if (ArrivedItems::Has(work.entry)) m_arrived->MakeRoom(work.entry);
  // What was found there is found again should the entry be lost.
  const bool isFound =
      outcome.kind == Outcome::Kind::kKnown || outcome.kind == Outcome::Kind::kUpdated;
  isFound ? m_journal.StoreFound(entry) : m_journal.Store(entry);
}

void Migration::Note(const Plan::Entry& entry, const Outcome& outcome) {
  struct Word {
    std::uint64_t* counter;
    const char* text;
    std::vector<SourceProblem>* list;
  };
  Word word{&m_summary.failed, "FAILED", &m_summary.failures};
  if (outcome.kind == Outcome::Kind::kSent) word = {&m_summary.sent, "sent", &m_summary.remarks};
  if (outcome.kind == Outcome::Kind::kKnown) {
    word = {&m_summary.known, "there already", &m_summary.remarks};
  }
  if (outcome.kind == Outcome::Kind::kUpdated) {
    word = {&m_summary.updated, "updated", &m_summary.remarks};
  }
  if (outcome.kind == Outcome::Kind::kNotConfirmed) {
    word = {&m_summary.notConfirmed, "NOT CONFIRMED", &m_summary.failures};
  }
  ++*word.counter;
  ++m_summary.seen;
  m_noted.insert(entry.item.location);
  if (!outcome.text.empty()) word.list->push_back({entry.name, outcome.text});
  const std::string line =
      fmt::format("[{}/{}] {}: {}{}{}", m_summary.seen, m_summary.total, entry.name, word.text,
                  outcome.text.empty() ? "" : ": ", outcome.text);
  m_onStep({m_summary.seen, m_summary.total, entry.name, line, !outcome.Arrived()});
}

std::string Migration::StopReason(const Plan::Entry& entry, const Outcome& outcome) {
  if (m_setup.localMailbox) {
    if (const std::optional<std::string> end = m_setup.localMailbox->Ended()) {
      return fmt::format("the local mailbox ended ({})", *end);
    }
  }
  if (outcome.kind == Outcome::Kind::kLeft) return entry.name + ": " + outcome.text;
  if (outcome.kind == Outcome::Kind::kKnown) return {};  // says nothing about what comes
  const bool unproved = outcome.kind == Outcome::Kind::kNotConfirmed;
  if (!unproved && (outcome.Arrived() || !IsOfTarget(m_setup.target, outcome.text))) {
    m_failuresInARow = 0;
    return {};
  }
  const std::string text = WithoutDigits(outcome.text);
  m_failuresInARow = text == m_lastFailure ? m_failuresInARow + 1 : 1;
  m_lastFailure = text;
  if (m_failuresInARow < kMostFailuresInARow) return {};
  // Without a ledger, what is sent on would be sent again by the next run.
  return fmt::format("{} items in a row {}: {}", kMostFailuresInARow,
                     unproved ? "could not be confirmed" : "failed with", outcome.text);
}

}  // namespace client
