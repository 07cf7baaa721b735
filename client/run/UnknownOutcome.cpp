#include "client/run/UnknownOutcome.h"

#include <algorithm>
#include <chrono>

#include <fmt/format.h>

#include "client/run/MailKey.h"
#include "client/run/Outcome.h"
#include "client/run/StopRequest.h"
#include "ews/EwsTransport.h"
#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"
#include "pipeline/SeriesSaving.h"

namespace client {
namespace {

constexpr std::chrono::seconds kFirstPause{1};
constexpr std::chrono::seconds kShortestFinish{5};
constexpr std::chrono::seconds kLongestFinish{120};
constexpr std::chrono::milliseconds kSlice{200};  // how soon a wait sees a request to stop

// Empty for an id that no request can carry.
std::string SearchableId(const std::string& messageId) {
  const CString id = CString::FromUtf8(messageId);
  const bool usable = id.GetLength() <= static_cast<int>(kMaxKey) && ews::IsXmlText(id);
  return usable ? messageId : std::string();
}

// A server that says no to the search says it the next time as well; one that has an error may not.
TargetAnswer NoAnswer(const ews::ServiceException& failure) {
  const bool isOutage = failure.Cause().bOutage || EndsRun(failure.what());
  const bool mayPass = isOutage || failure.Cause().bMayBeCarriedOut;
  using enum TargetAnswer::Kind;
  return {mayPass ? kUnreachable : kNotAsked, 0, failure.what(), isOutage};
}

}  // namespace

std::string TimesText(std::size_t times) {
  return times == 2 ? "twice" : fmt::format("{} times", times);
}

std::string UpTo(std::size_t times) {
  return times < 2 ? std::string() : ", up to " + TimesText(times);
}

std::string CopiesText(std::size_t copies) {
  return copies < 2 ? std::string() : "it is there " + TimesText(copies);
}

std::string DoubtText(std::size_t copies, const std::string& reason) {
  return fmt::format("may be there {}: {} ({})", TimesText(copies), kCouldNotAsk, reason);
}

void CopyCount::Add(const ews::FoundItem& found) {
  if (!m_key.empty() && IsFoundText(found.strKey, m_key)) {
    ++m_own;
  } else if (!m_messageId.empty() && IsFoundText(found.strMessageId, m_messageId)) {
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
  using std::chrono::milliseconds;
  const auto end = ews::Transport().Now() + time;
  for (milliseconds pause = kFirstPause;; pause *= 2) {
    TargetAnswer answer = AskOnce(folder, item);
    const auto left = std::chrono::ceil<milliseconds>(end - ews::Transport().Now());
    using enum TargetAnswer::Kind;
    const bool sure = answer.kind == kThere || answer.kind == kNotAsked || EndsRun(answer.reason);
    if (!sure && left.count() <= 0 && answer.kind == kUnreachable && !answer.isOutage) {
      answer.kind = kNotAsked;  // nothing but errors for all that time
    }
    if (sure || left.count() <= 0) return answer;
    pause = std::min(pause, left);
    if (!WaitFor(pause)) return {kUnreachable, 0, "asked to stop", true};
  }
}

TargetAnswer UnknownOutcome::AskOnce(const std::string& folder, const LoadedItem& item) {
  return AskOnce(folder, item, Unfinished::kPassedOver);
}

TargetAnswer UnknownOutcome::CountOnce(const std::string& folder, const LoadedItem& item) {
  return AskOnce(folder, item, Unfinished::kCounted);
}

TargetAnswer UnknownOutcome::AskOnce(const std::string& folder, const LoadedItem& item,
                                     Unfinished unfinished) {
  const Names names{m_keyed == Keyed::kNone ? std::string() : KeyOnItem(item.key),
                    m_keyed == Keyed::kAll ? std::string() : SearchableId(item.messageId)};
  if (names.key.empty() && names.id.empty()) {
    return {TargetAnswer::Kind::kNotAsked, 0,
            "it has no message id that can be searched for, and --as-is writes no key"};
  }
  TargetAnswer answer = Search(folder, item, names, unfinished);
  // One more copy hangs on a refusal, and a single one may have come by chance.
  const bool isRefusal = answer.kind == TargetAnswer::Kind::kNotAsked && !EndsRun(answer.reason);
  if (isRefusal && WaitFor(kFirstPause)) answer = Search(folder, item, names, unfinished);
  return answer;
}

TargetAnswer UnknownOutcome::Search(const std::string& folder, const LoadedItem& item,
                                    const Names& names, Unfinished unfinished) {
  const auto& [key, id] = names;
  try {
    CopyCount count(key, id);
    const auto add = [&](const ews::FoundItem& found) { count.Add(found); };
    m_look.Find(folder, CString::FromUtf8(key), CString::FromUtf8(id), add);
    if (item.elsewhere) m_look.Find(*item.elsewhere, CString::FromUtf8(key), CString(), add);
    const std::size_t others = m_ledger.RowsOfId(folder, id, item.ledgerKey, m_login);
    std::size_t copies = count.Copies(others);
    if (unfinished == Unfinished::kCounted && item.mayBeSeries && !key.empty()) {
      const CString mark = UnfinishedKey(CString::FromUtf8(key));
      CopyCount begun(mark.ToUtf8(), {});
      m_look.Find(folder, mark, CString(), [&](const ews::FoundItem& found) { begun.Add(found); });
      copies += begun.Copies(0);
    }
    return {copies ? TargetAnswer::Kind::kThere : TargetAnswer::Kind::kAbsent, copies, {}};
  } catch (const ews::ServiceException& failure) {
    return NoAnswer(failure);
  } catch (const std::runtime_error& failure) {  // there is no logon
    return {TargetAnswer::Kind::kUnreachable, 0, failure.what(), true};
  }
}

}  // namespace client
