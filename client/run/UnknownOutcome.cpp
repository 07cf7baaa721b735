#include "client/run/UnknownOutcome.h"

#include <algorithm>
#include <chrono>

#include "client/run/MailKey.h"
#include "client/run/Outcome.h"
#include "client/run/StopRequest.h"
#include "ews/EwsTransport.h"
#include "ews/ServiceException.h"

namespace client {
namespace {

constexpr std::chrono::seconds kFirstPause{1};
constexpr std::chrono::seconds kShortestFinish{5};
constexpr std::chrono::seconds kLongestFinish{120};
constexpr std::chrono::milliseconds kSlice{200};  // how soon a wait sees a request to stop

// Servers cut long texts, and may compare without regard to case; we do not.
bool EqualText(const CString& found, const std::string& wanted) {
  return found == CString::FromUtf8(wanted).Left(ews::kLongestFoundText);
}

// A server that says no to the search says it the next time as well; one that has an error does
// not.
bool MayPass(const ews::ServiceResponseException& failure) {
  return failure.Cause().bOutage || failure.Cause().bMayBeCarriedOut || EndsRun(failure.what());
}

}  // namespace

void CopyCount::Add(const ews::FoundItem& found) {
  if (!m_key.empty() && EqualText(found.strKey, m_key)) {
    ++m_own;
  } else if (!m_messageId.empty() && EqualText(found.strMessageId, m_messageId)) {
    ++(found.strKey.IsEmpty() ? m_keyless : m_others);
  }
}

std::size_t CopyCount::Copies(std::size_t arrivedWithId) const {
  const std::size_t othersWithout = arrivedWithId - std::min(arrivedWithId, m_others);
  return m_own + m_keyless - std::min(m_keyless, othersWithout);
}

std::chrono::seconds TimeToFinish(std::chrono::milliseconds workedOn) {
  // What a server drops at once it seldom goes on with; behind one that a gateway gave up after a
  // minute, it may be at it for another.
  const auto asLongAgain = std::chrono::duration_cast<std::chrono::seconds>(workedOn);
  return std::clamp(asLongAgain, kShortestFinish, kLongestFinish);
}

bool WaitFor(std::chrono::milliseconds time) {
  for (; time.count() > 0; time -= kSlice) {
    if (StopRequested()) return false;
    ews::Transport().Wait(std::min(time, kSlice));
  }
  return !StopRequested();
}

TargetAnswer UnknownOutcome::Ask(const std::string& folder, const LoadedItem& item,
                                 std::chrono::seconds time) {
  std::chrono::seconds pause = kFirstPause;
  for (std::chrono::seconds left = time;; left -= pause, pause *= 2) {
    TargetAnswer answer = AskOnce(folder, item);
    const bool sure = answer.kind == TargetAnswer::Kind::kThere ||
                      answer.kind == TargetAnswer::Kind::kNotAsked || EndsRun(answer.reason);
    if (sure || left.count() <= 0) return answer;
    pause = std::min(pause, left);
    if (!WaitFor(pause)) return {TargetAnswer::Kind::kUnreachable, 0, "asked to stop"};
  }
}

TargetAnswer UnknownOutcome::AskOnce(const std::string& folder, const LoadedItem& item) {
  const std::string key = m_withKeys ? KeyOnItem(item.key) : std::string();
  if (key.empty() && item.messageId.empty()) {
    return {TargetAnswer::Kind::kNotAsked, 0, "it has no message id, and --as-is writes no key"};
  }
  try {
    CopyCount count(key, item.messageId);
    for (const std::string& place : {folder, item.elsewhere}) {
      if (place.empty()) continue;
      m_look.Find(place, CString::FromUtf8(key), CString::FromUtf8(item.messageId),
                  [&](const ews::FoundItem& found) { count.Add(found); });
    }
    const std::size_t others = m_ledger.RowsOfId(folder, item.messageId, m_login);
    const std::size_t copies = count.Copies(others);
    return {copies ? TargetAnswer::Kind::kThere : TargetAnswer::Kind::kAbsent, copies, {}};
  } catch (const ews::ServiceResponseException& failure) {
    const bool refused = !MayPass(failure);
    return {refused ? TargetAnswer::Kind::kNotAsked : TargetAnswer::Kind::kUnreachable, 0,
            failure.what()};
  } catch (const std::runtime_error& failure) {  // there is no logon, or no answer of a mailbox
    return {TargetAnswer::Kind::kUnreachable, 0, failure.what()};
  }
}

}  // namespace client
