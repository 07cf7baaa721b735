#include "client/run/Migration.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <optional>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include <fmt/format.h>

#include "client/run/CountedLook.h"
#include "client/run/MailKey.h"
#include "client/run/NewFile.h"
#include "client/run/ReducedMail.h"
#include "client/run/RunIdentity.h"
#include "client/run/StopRequest.h"
#include "client/sources/SourceFiles.h"
#include "ews/EwsTransport.h"
#include "ews/ServiceException.h"
#include "platform/EndpointClient.h"
#include "platform/Sha256.h"

namespace client {

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::minutes kFreshDoubt{10};  // an older one is over, however slow its server
constexpr std::string_view kChanged = "it has been changed since it was sent";

// One that was sent may still be carried out by a slow server, whatever became of a later try.
ItemResult ResultOf(const Outcome& outcome, const ItemWork& work) {
  if (outcome.Arrived()) return ItemResult::kArrived;
  if (outcome.kind == Outcome::Kind::kNotConfirmed) return ItemResult::kNotConfirmed;
  if (work.isIncomplete) return ItemResult::kIncomplete;
  return work.sent > 0 ? ItemResult::kUnknown : ItemResult::kFailed;
}

// By folder, then place: "Old:200" before "Old:1000".
bool IsBefore(const SourceProblem& a, const SourceProblem& b) {
  const auto order = [](const SourceProblem& mail) {
    const std::string_view place = mail.location;
    return std::tuple(std::string_view(mail.reason), place.substr(0, place.rfind(':')),
                      place.size(), place);
  };
  return order(a) < order(b);
}

// People move and delete mail while it is read.
std::string WhereGone(const SourceItem& item) {
  if (IsThere(item.file.empty() ? item.location : item.file)) return {};
  return "it went since it was listed; the next run takes what is there then";
}

UnknownOutcome::Keyed KeyedBy(const RunSetup& setup, Journal& journal) {
  using enum UnknownOutcome::Keyed;
  if (setup.IsSafe()) return HasSentWithoutKeys(journal) ? kSome : kAll;
  KeepSentWithoutKeys(journal);
  return kNone;
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
      m_look(LookAt(m_setup.target, m_journal.FolderKinds())),
      m_unknown(*m_look, m_ledger, m_setup.target.Login(), KeyedBy(m_setup, m_journal)),
      m_tries(m_setup, m_journal, m_sender, *m_look, m_unknown, m_rows, say),
      m_late(m_unknown),
      m_doubts(m_journal),
      m_incomplete(m_setup.target, *m_look),
      m_second(m_setup.target, *m_look, m_journal, m_rows, m_setup.IsSafe()),
      m_mayBeOlder(!m_journal.IsNew()),
      m_inARow(m_setup.target) {}

Summary Migration::Run(const Plan& plan) {
  m_summary = {};
  m_summary.total = plan.entries.size();
  m_endedReduced = m_sender.EndedReduced();
  try {
    m_lastBegun = m_journal.LastBegun();
    m_doubts.ReadArrived();
    TakeOverLate(plan);
    m_arrived.emplace(m_journal, plan);
    if (m_setup.adopt) m_adoption.emplace(*m_look, plan);
    m_noted.assign(plan.entries.size(), false);
    m_second.Expect(plan.entries.size());
    for (Plan::Entry entry : plan.entries) {
      if (StopRequested()) m_summary.stopped = "asked to stop";
      if (!m_summary.stopped.empty()) break;
      if (TakeUp({.entry = std::move(entry)}, m_aside.LimitInTurn())) TakeUpAside();
    }
    TakeUpRest();
    LookForLateCopies();
    if (m_summary.stopped.empty()) TellMissing(plan);
    if (m_summary.stopped.empty()) MakeFolders(plan.emptyFolders);
    m_doubts.ReadUnknown(plan, m_noted);
  } catch (const platform::SqliteError& error) {
    m_summary.stopped = DatabaseFailure(m_setup.run.Path(), error);
    m_summary.canGoOn = !error.IsDamage();
  } catch (const std::exception& error) {  // what was done so far is told all the same
    m_summary.stopped = error.what();
  }
  if (!m_summary.stopped.empty() && StopRequested()) m_summary.stopped = "asked to stop";
  Finish(plan);
  return std::move(m_summary);
}

void Migration::Finish(const Plan& plan) {
  // What an error kept from being looked for.
  m_late.Look(/*ask=*/false, [&](const auto& item, const std::string& remark, auto) {
    if (!remark.empty()) m_summary.remarks.push_back({item.name, remark});
  });
  m_ledger.Close();  // before the engine, which tidies up only when it is the last one
  m_rows.Close();
  m_sender.Close();
  m_summary.waits = m_setup.waits->Count();
  m_summary.waitedSeconds =
      static_cast<std::uint64_t>((m_setup.waits->Time().count() + 500) / 1000);
  m_summary.doubts = m_doubts.Named(plan);
}

bool Migration::TakeUp(const ItemsAside::One& one, const TryLimit& limit) {
  m_limit = limit;
  m_wasSent = one.Waits();
  m_lastTry = one.lastTry;
  const std::size_t before = m_tries.Count();
  const Outcome outcome = Handle(one.entry);
  const std::size_t tries = m_tries.Count() - before;
  if (outcome.kind == Outcome::Kind::kAside) {
    if (!one.Waits()) {
      m_say(fmt::format("{} is sent again when another item has come through", one.entry.name));
    }
    m_aside.Put({one.entry, one.tries, one.before, LastTry()}, tries);
    return false;
  }
  if (outcome.kind != Outcome::Kind::kLeft) Note(one.entry, outcome);
  m_summary.stopped = StopReason(one.entry, outcome);
  if (outcome.kind != Outcome::Kind::kSent) return false;
  m_aside.NoteArrival(one, tries);
  return true;
}

void Migration::TakeUpAside() {
  for (const ItemsAside::One& one : m_aside.TakeAll()) {
    if (!m_summary.stopped.empty()) return;
    (void)TakeUp(one, m_aside.LimitBehindAnother(one));
  }
}

void Migration::TakeUpRest() {
  for (const ItemsAside::One& one : m_aside.TakeAll()) {
    if (!m_summary.stopped.empty()) return;
    (void)TakeUp(one, m_aside.LimitAtEnd(one));
  }
}

Outcome Migration::Handle(const Plan::Entry& entry) {
  ItemWork work(entry);
  Outcome outcome;
  try {
    work.item = ItemLoader::Load(entry);
    // Mails of one folder whose bytes are the same are one mail there.
    work.isEqual = entry.IsMail() && !m_second.See(entry, work.item);
    const bool known = IsKnown(work);
    if (WantsFiles(work, known)) ItemLoader::AddFiles(entry, work.item);
    if (known && work.isEqual) ++m_summary.equal;
    if (known && work.mail && !m_setup.adopt) return KnownAgain(work);
    if (known && !entry.IsMail() && !m_setup.adopt) return {Outcome::Kind::kKnown, {}};
    Name(work);
    // What stands for it in the target stands for no other.
    const bool found = m_adoption && m_adoption->Take(entry.item.folder, work.item);
    if (known) return KnownAgain(work);
    if (!found) {
      if (m_adoption && entry.item.IsOther()) AdoptVersion(work);
      if (std::optional<Outcome> changed = WhereChanged(work)) return *changed;
    }
    outcome = HandleWork(work, found);
    if (outcome.kind == Outcome::Kind::kKnown && work.isEqual) ++m_summary.equal;
    TellNotCarried(work, outcome);
  } catch (const SourceError& error) {
    m_second.SeeUnread(entry);
    outcome = {Outcome::Kind::kFailed, Joined(error.what(), WhereGone(entry.item))};
  } catch (const WriteError& error) {
    outcome = {Outcome::Kind::kFailed, error.what()};
  } catch (const std::bad_alloc&) {
    m_second.SeeUnread(entry);
    outcome = {Outcome::Kind::kFailed, "is too large for the memory here"};
  }
  outcome = WithDoubt(work, std::move(outcome));
  TellCopies(work, outcome);
  Keep(work, outcome);
  return outcome;
}

bool Migration::IsKnown(ItemWork& work) {
  const Plan::Entry& entry = work.entry;
  if (ArrivedItems::Has(entry)) return m_arrived->Take(entry, work.item.hash);
  if (entry.IsMail()) return IsKnownMail(work);
  return m_journal.HasArrived(entry.item.location, entry.item.folder, work.item.hash);
}

bool Migration::IsKnownMail(ItemWork& work) {
  const SourceItem& item = work.entry.item;
  work.mail = m_journal.MailOf(item.folder, work.item.hash);
  if (work.mail) return work.mail->origin != KnownMail::Origin::kTakenAway;
  if (m_journal.HasArrived(item.location, item.folder, work.item.hash)) return true;
  if (!m_mayBeOlder) return false;
  std::string whole = platform::Sha256Hex(work.item.bytes);
  if (!m_journal.HasArrived(item.location, item.folder, whole)) return false;
  work.olderHash = std::move(whole);
  return true;
}

// They are read to be sent, and to tell what a mail lacks: once, and again as long as it lacks
// some.
bool Migration::WantsFiles(const ItemWork& work, bool known) {
  if (!known) return true;
  return !work.isEqual && (!work.mail || SecondPass::LacksFiles(*work.mail));
}

// The keys of an earlier version were made of all bytes.
void Migration::Name(ItemWork& work) {
  NameByContent(work);
  if (ArrivedItems::Has(work.entry)) TakeOverDoubt(work);
}

// What was begun belongs to a place in the source. Where nothing lies there any more, it is an
// equal item's that has moved.
void Migration::TakeOverDoubt(ItemWork& work) {
  const std::string& folder = work.entry.item.folder;
  if (work.item.key.empty() || m_journal.OpenFor(folder, work.item.key)) return;
  for (const std::string& key : m_journal.OpenKeys(folder)) {
    if (SharedKey(key) != SharedKey(work.item.key)) continue;
    const auto owner = m_journal.OwnerOf(folder, key);
    if (!owner || m_arrived->IsOfPlan(*owner, work.item)) continue;
    return m_loader.TakeOverKey(work.entry, key, work.item);
  }
}

void Migration::NameByContent(ItemWork& work) {
  if (work.olderHash.empty()) return m_loader.Name(work.entry, work.item);
  std::swap(work.item.hash, work.olderHash);
  m_loader.Name(work.entry, work.item);
  std::swap(work.item.hash, work.olderHash);
}

// It arrived from where the later version lies now.
void Migration::AdoptVersion(const ItemWork& work) {
  const Plan::Entry& entry = work.entry;
  const auto key = m_adoption->TakeVersion(entry.item.folder, work.item);
  if (!key || !m_arrived->EarlierVersions(entry, work.item).empty()) return;
  m_arrived->Add({entry.item.location,
                  entry.item.folder,
                  std::string(HashInKey(*key)),
                  *key,
                  ItemResult::kArrived,
                  {}});
}

Outcome Migration::KnownAgain(const ItemWork& work) {
  if (!work.entry.IsMail() || work.isEqual) return {Outcome::Kind::kKnown, {}};
  if (!work.mail) {
    m_journal.KeepMail(SecondPass::MailOf(work.entry, work.item, KnownMail::Origin::kFound));
    return {Outcome::Kind::kKnown, {}};
  }
  Outcome told = m_second.TellState(*work.mail, work.entry, work.item);
  if (told.Arrived() && told.text.starts_with(kReduced)) ++m_summary.reduced;
  return told;
}

Outcome Migration::HandleWork(ItemWork& work, bool found) {
  m_sender.Mark();
  const std::string& folder = work.entry.item.folder;
  auto open = m_journal.OpenFor(folder, work.item.key);
  if (open && m_journal.IsIncomplete(folder, work.item.key)) {
    work.isIncomplete = true;
    if (std::optional<Outcome> failure = m_incomplete.TakeAway(folder, work.item)) return *failure;
    work.isIncomplete = false;
    m_journal.Forget(folder, work.item.key);
    open.reset();
    found = false;
  }
  const bool isOld = open && open->since >= kFreshDoubt;
  work.wasBegun = open.has_value();
  if (open) work.sent = static_cast<std::size_t>(open->tries);
  if (open && !isOld)
    work.lost = m_tries.Lost(ews::Transport().Now() - open->since, m_tries.ToFinish({}));
  // A row without a journal entry: an earlier run was cut off between the two.
  if (m_sender.HasArrived(work.entry, work.item)) return {Outcome::Kind::kKnown, {}};
  if (found) return {Outcome::Kind::kKnown, m_tries.EnterRow(work)};
  Outcome outcome;
  const auto time = work.lost ? work.lost->toFinish : 0s;
  const auto there = m_wasSent ? Outcome::Kind::kSent : Outcome::Kind::kKnown;
  if (m_tries.Settle(work, there, time, outcome)) return outcome;
  if (isOld && work.notAsked.empty()) {
    m_journal.Forget(folder, work.item.key);
    work.sent = 0;
  }
  outcome = m_tries.SendUntilSettled(work, m_limit);
  work.isIncomplete = LeavesIncomplete(outcome.text);
  return outcome;
}

void Migration::TellCopies(ItemWork& work, Outcome& outcome) {
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
  const JournalEntry entry = EntryOf(work, outcome);
  m_journal.KeepLate({entry, names.ledgerKey, names.messageId, work.sent, *work.shown});
  m_late.Watch({work.entry.name, entry, std::move(names), work.sent, *work.shown}, *work.lost);
}

// An earlier run ended before it looked.
void Migration::TakeOverLate(const Plan& plan) {
  std::vector<Journal::LateItem> all = m_journal.LateItems();
  if (all.empty()) return;
  std::unordered_set<std::string> sources;
  for (const Journal::LateItem& late : all) sources.insert(late.entry.source);
  const auto names = NamesIn(plan, sources);
  for (Journal::LateItem& late : all) {
    LateCopies::Item item;
    item.name = names.at(late.entry.source);
    item.names.key = late.entry.key;
    item.names.ledgerKey = late.ledgerKey;
    item.names.messageId = late.messageId;
    item.names.mayBeSeries = true;
    item.entry = std::move(late.entry);
    item.sent = late.sent;
    item.shown = late.shown;
    m_late.Watch(std::move(item), {ews::Transport().Now(), 0s});
  }
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
  const auto tell = [&](const LateCopies::Item& item, const std::string& remark,
                        LateCopies::Looked looked) {
    if (!remark.empty()) m_summary.remarks.push_back({item.name, remark});
    if (looked == LateCopies::Looked::kInVain) {  // the next run looks
      if (StopRequested()) m_summary.stopped = "asked to stop";
      return;
    }
    JournalEntry entry = item.entry;
    entry.text = Joined(entry.text, remark);
    m_journal.EndLate(entry);
  };
  m_late.Look(ask, tell);
}

void Migration::TellMissing(const Plan& plan) {
  SecondPass::Gone gone = m_second.Missing(plan);
  for (const KnownMail& mail : gone.mails) m_summary.missing.push_back({mail.source, mail.folder});
  std::ranges::sort(m_summary.missing, IsBefore);
  if (!m_setup.deleteMissing || gone.mails.empty()) return;
  const bool isAll = gone.mails.size() == gone.brought;
  if (!gone.isSure || isAll) {
    TellStaying("all of it", gone.mails.size(),
                gone.isSure ? "nothing of what was brought is in the source any more; is it the "
                              "right one?"
                            : "not all of the source could be read, and it may lie where it could "
                              "not");
    return;
  }
  for (const LostMails& lost : m_second.TakeLost(gone)) {
    TellStaying(lost.where, lost.count, fmt::format("{} mails: {}", lost.count, lost.reason));
  }
  TakeAway(gone.mails);
}

void Migration::TellStaying(const std::string& what, std::size_t mails, const std::string& why) {
  m_summary.staying += mails;
  m_summary.whyStaying.push_back({what, why});
}

void Migration::TakeAway(const std::vector<KnownMail>& mails) {
  using enum SecondPass::Taken::Kind;
  for (const KnownMail& mail : mails) {
    if (StopRequested()) {
      m_summary.stopped = "asked to stop";
      return;
    }
    const SecondPass::Taken taken = m_second.TakeAway(mail);
    if (taken.kind == kMoved) ++m_summary.takenAway;
    if (taken.kind == kNeedless) ++m_summary.goneThere;
    if (taken.kind == kStays) TellStaying(mail.source, 1, taken.reason);
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

// One that was put aside may be found in the target without being tried again.
std::optional<NotCarried> Migration::LastTry() const {
  std::optional<NotCarried> last = m_sender.LastTry();
  return last ? last : m_lastTry;
}

NotCarried Migration::NotCarriedBy(const ItemWork& work, const Outcome& outcome) {
  if (outcome.kind == Outcome::Kind::kSent) return LastTry().value_or(NotCarried{});
  if (outcome.kind != Outcome::Kind::kKnown || !work.wasBegun) return {};
  const Journal::ItemName name{work.entry.item.folder, work.item.key};
  const bool isLast = m_lastBegun == name;
  return {m_sender.LeftOf(work.entry, work.item), {}, isLast ? m_endedReduced : Reduction::kNone};
}

void Migration::TellNotCarried(const ItemWork& work, Outcome& outcome) {
  const auto& [left, ofEngine, reduction] = NotCarriedBy(work, outcome);
  outcome.text = Joined(LeftOutText(left), Joined(ofEngine, outcome.text));
  if (left.isReduced || reduction != Reduction::kNone) ++m_summary.reduced;
  if (reduction == Reduction::kNone) return;
  const std::string text = ReducedText(work.entry, work.item, reduction, m_setup.IsSafe());
  outcome.text = Joined(text, outcome.text);
}

// An earlier version stands in the target, where its user may have gone on with it: it is neither
// doubled nor overwritten.
std::optional<Outcome> Migration::WhereChanged(const ItemWork& work) {
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

Outcome Migration::WithDoubt(const ItemWork& work, Outcome outcome) {
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

JournalEntry Migration::EntryOf(const ItemWork& work, const Outcome& outcome) {
  return {work.entry.item.location, work.entry.item.folder,
          work.item.hash,           work.item.key,
          ResultOf(outcome, work),  outcome.text};
}

// What is to be known from now on of a mail that stands in the target.
std::optional<KnownMail> Migration::MailOf(const ItemWork& work, const Outcome& outcome) {
  using enum KnownMail::Origin;
  const bool isSent = outcome.kind == Outcome::Kind::kSent;
  const bool isFound = outcome.kind == Outcome::Kind::kKnown && !work.isEqual;
  if (!work.entry.IsMail() || (!isSent && !isFound)) return std::nullopt;
  return SecondPass::MailOf(work.entry, work.item, isSent || work.wasBegun ? kBrought : kFound);
}

void Migration::Keep(const ItemWork& work, const Outcome& outcome) {
  if (outcome.kind == Outcome::Kind::kLeft || outcome.kind == Outcome::Kind::kAside) {
    // What is known to be there in part stays open, though nothing was sent now.
    const bool isOver = work.sent == 0 && !work.isIncomplete;
    if (isOver) m_journal.Forget(work.entry.item.folder, work.item.key);
    return;
  }
  const JournalEntry entry = EntryOf(work, outcome);
  if (entry.hash.empty()) return m_journal.StoreUnread(entry);
  if (ArrivedItems::Has(work.entry)) m_arrived->MakeRoom(work.entry);
  // What was found there is found again should the entry be lost.
  const std::optional<KnownMail> mail = MailOf(work, outcome);
  const bool isFound = outcome.kind == Outcome::Kind::kKnown;
  isFound ? m_journal.StoreFound(entry, mail) : m_journal.Store(entry, mail);
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
  m_noted[entry.number] = true;
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
  return m_inARow.Add(outcome);
}

}  // namespace client
