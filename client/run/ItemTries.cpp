#include "client/run/ItemTries.h"

#include <algorithm>

#include <fmt/format.h>

#include "client/run/CountedLook.h"
#include "client/run/StopRequest.h"
#include "client/run/StoreLook.h"
#include "ews/EwsTransport.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "platform/EndpointClient.h"

namespace client {

using namespace std::chrono_literals;

namespace {

constexpr int kMostDeaths = 2;           // of the engine, on one item
constexpr std::size_t kMostTries = 6;    // of an item whose outcome is open again and again
constexpr std::size_t kMostRefused = 2;  // the same where what leaves it open is like a refusal
// Questions are answered: a server that is up is not kept from coming up by a try more.
constexpr std::chrono::seconds kLongestPause{15};
constexpr const char* kTarget = "The target";  // as an outage that items meet calls it
constexpr std::chrono::seconds kLong{5};       // the target is asked again behind a pause of that

// "The request failed. The server mail.example.com answered HTTP 403 (…)."
bool IsLikeARefusal(std::string_view text) {
  return text.starts_with("The request failed. The server ") &&
         text.find(" answered HTTP 4") != std::string_view::npos;
}

}  // namespace

// Behind a store there is nobody who could still be at work when the engine is gone.
std::optional<LostTry> ItemTries::Lost(std::chrono::steady_clock::time_point at,
                                       std::chrono::seconds toFinish) const {
  if (m_setup.target.Store()) return std::nullopt;
  return LostTry{at, toFinish};
}

std::chrono::seconds ItemTries::ToFinish(std::chrono::milliseconds workedOn) const {
  return TimeToFinish(std::max(workedOn, m_sender.Slowest()));
}

Outcome ItemTries::SendUntilSettled(ItemWork& work, const TryLimit& limit) {
  Outcome outcome;
  int deaths = 0;
  for (std::size_t tries = 1;; ++tries) {
    const bool wasBlind = !work.notAsked.empty();
    const OpenEnd end = Try(work, outcome);
    ++m_count;
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
    // Unseen, each further try may be one copy more. Where nobody waits any more, there is none.
    const bool isLeft = outage && !isAsked && IsPatienceOver();
    if (wasBlind && !work.notAsked.empty() && !isLeft) return GivenUp(work, std::move(outcome));
    if (outage && tries == limit.tries && work.notAsked.empty()) {
      return AtLimit(std::move(outcome), limit.end);
    }
    if (!outage && tries == MostTries(outcome)) return GivenUp(work, std::move(outcome));
    if (!isAsked && !Pause(work, outcome, tries, left)) return left;
  }
}

// The engine's own words alone: with --as-is a server's stand as they are.
std::optional<std::chrono::seconds> ItemTries::OutageIn(const Outcome& outcome) const {
  return m_setup.IsSafe() ? ews::OutageIn(outcome.text) : std::nullopt;
}

std::size_t ItemTries::MostTries(const Outcome& outcome) const {
  return m_setup.IsSafe() && IsLikeARefusal(outcome.text) ? kMostRefused : kMostTries;
}

// The item was tried as often as it may be in an outage, just now or for good.
Outcome ItemTries::AtLimit(Outcome outcome, Outcome::Kind end) {
  outcome.kind = end;
  if (outcome.kind != Outcome::Kind::kFailed) return outcome;
  outcome.text = Joined(ews::WithoutOpenOutcome(outcome.text), "it alone, others come through");
  return outcome;
}

// Before the next try of an item. False with the outcome where there is to be none.
bool ItemTries::Pause(ItemWork& work, const Outcome& failure, std::size_t tries, Outcome& outcome) {
  const auto begun = ews::Transport().Now();
  const bool isOutage = OutageIn(failure).has_value();
  // A connection that was lost is replaced once, whoever has no patience for more.
  const bool isWaited = isOutage && (tries > 1 || ews::Settings().nPatience > 0s);
  if (isWaited && !WaitOut(failure.text, 0s, outcome)) return false;
  std::chrono::seconds least = isOutage || tries == 1 ? 0s : 1s * (1 << (tries - 2));
  // The only try that is left is not spent at once.
  if (!work.notAsked.empty()) least = std::max(least, ToFinish({}));
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
bool ItemTries::WaitOut(const std::string& text, std::chrono::seconds asked, Outcome& outcome) {
  ews::Failure failure;
  failure.bOutage = true;
  if (asked > 0s) failure.nBackOff = asked;
  if (!m_outage) {
    m_outage.emplace(ews::Transport(), kTarget,
                     std::chrono::milliseconds(ews::ExchangeService::kDefaultTimeout),
                     ews::Outage::Repeat::kAlways, kLongestPause);
  }
  try {
    m_outage->WaitAfter(ews::ServiceException(ews::WithoutOpenOutcome(text), failure));
    return true;
  } catch (const ews::ServiceException& end) {
    outcome = {Outcome::Kind::kLeft, end.what()};
    return false;
  }
}

bool ItemTries::IsPatienceOver() { return ews::Transport().PatienceLeft(kTarget) <= 0s; }

void ItemTries::EndOutage() {
  if (m_outage) m_outage->End();
  (void)ews::Transport().EndOutage(kTarget);  // nobody may have waited
  m_outage.reset();
}

// Where the questions stay unanswered, they are of the outage that the item met, and what they took
// is of its patience. Where they are answered, the look takes its time.
bool ItemTries::SettleSent(ItemWork& work, Outcome& outcome) {
  (void)ews::Transport().OutageSince(kTarget);
  auto time = 0s;
  if (work.lost) {
    const auto left = work.lost->at + work.lost->toFinish - ews::Transport().Now();
    time = std::max(std::chrono::ceil<std::chrono::seconds>(left), 0s);
  }
  if (!Settle(work, Outcome::Kind::kSent, time, outcome)) {
    if (work.notAsked.empty() && !m_outage) (void)ews::Transport().EndOutage(kTarget);
    return false;
  }
  if (outcome.Arrived()) EndOutage();
  return true;
}

// One item that meets this again and again may be what its server stumbles over; the next one that
// does says that the server is out of order.
Outcome ItemTries::GivenUp(const ItemWork& work, Outcome outcome) {
  const bool isOfItself = IsLikeARefusal(outcome.text) && work.notAsked.empty();
  if (m_gaveUp && m_setup.IsSafe() && !isOfItself) outcome.kind = Outcome::Kind::kLeft;
  m_gaveUp = !isOfItself;
  if (isOfItself && m_setup.IsSafe()) {
    outcome.text = Joined(ews::WithoutOpenOutcome(outcome.text), "it is not in the target");
  }
  return outcome;
}

ItemTries::OpenEnd ItemTries::Try(ItemWork& work, Outcome& outcome) {
  const auto begun = ews::Transport().Now();
  const OpenEnd end = SendOnce(work, outcome);
  if (end == OpenEnd::kServer || end == OpenEnd::kEngine) {
    const auto now = ews::Transport().Now();
    work.lost =
        Lost(now, ToFinish(std::chrono::duration_cast<std::chrono::milliseconds>(now - begun)));
  }
  return end;
}

ItemTries::OpenEnd ItemTries::SendOnce(ItemWork& work, Outcome& outcome) {
  try {
    outcome = m_sender.SendOnce(work.entry, work.item);
  } catch (const platform::EndpointError&) {
    return EndedEngine(work, outcome);
  }
  if (outcome.kind == Outcome::Kind::kFailed && IsStoreGone(m_setup.target, outcome.text)) {
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

ItemTries::OpenEnd ItemTries::EndedEngine(ItemWork& work, Outcome& outcome) {
  const std::string end = m_sender.DescribeEnd();
  m_say(fmt::format("The engine ended in the middle of {} ({}).", work.entry.name, end));
  outcome = {Outcome::Kind::kFailed, fmt::format("the engine ended on this item ({})", end)};
  if (m_journal.OpenFor(work.entry.item.folder, work.item.key)) ++work.sent;
  if (m_sender.HasArrived(work.entry, work.item)) outcome = {Outcome::Kind::kSent, {}};
  // One that waited for its server ends with the run.
  if (!outcome.Arrived() && StopRequested()) outcome.kind = Outcome::Kind::kLeft;
  return outcome.kind == Outcome::Kind::kFailed ? OpenEnd::kEngine : OpenEnd::kNone;
}

bool ItemTries::Settle(ItemWork& work, Outcome::Kind there, std::chrono::seconds time,
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
bool ItemTries::IsFolderGone(const std::string& folder) {
  return m_journal.HasArrivalsIn(folder) && !m_look.Has(folder);
}

std::string ItemTries::EnterRow(const ItemWork& work) {
  if (work.item.ledgerKey.empty()) return {};
  try {
    m_rows.Enter(work.entry.item.folder, work.item.ledgerKey, m_setup.target.Login());
    return {};
  } catch (const platform::SqliteError& error) {
    m_rows.Close();
    return fmt::format("the ledger has no row for it ({})", error.what());
  }
}

}  // namespace client
