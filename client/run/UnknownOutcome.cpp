#include "client/run/UnknownOutcome.h"

#include <algorithm>
#include <chrono>

#include "client/run/MailKey.h"
#include "client/run/Outcome.h"
#include "ews/EwsTransport.h"
#include "ews/ServiceException.h"

namespace client {
namespace {

constexpr std::chrono::milliseconds kBetweenLooks{2000};

// Servers cut long texts, and may compare without regard to case; we do not.
bool EqualText(const CString& found, const std::string& wanted) {
  return found == CString::FromUtf8(wanted).Left(ews::kLongestFoundText);
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

TargetAnswer UnknownOutcome::Ask(const std::string& folder, const LoadedItem& item) {
  TargetAnswer answer = AskOnce(folder, item);
  if (answer.kind != TargetAnswer::Kind::kAbsent) return answer;
  ews::Transport().Wait(kBetweenLooks);
  return AskOnce(folder, item);
}

TargetAnswer UnknownOutcome::AskOnce(const std::string& folder, const LoadedItem& item) {
  const std::string key = m_withKeys ? KeyOnItem(item.key) : std::string();
  if (key.empty() && item.messageId.empty()) {
    return {TargetAnswer::Kind::kNotAsked, 0, "it has no message id, and --as-is writes no key"};
  }
  try {
    CopyCount count(key, item.messageId);
    m_look.Find(folder, CString::FromUtf8(key), CString::FromUtf8(item.messageId),
                [&](const ews::FoundItem& found) { count.Add(found); });
    const std::size_t others = m_ledger.RowsOfId(folder, item.messageId, m_login);
    const std::size_t copies = count.Copies(others);
    return {copies ? TargetAnswer::Kind::kThere : TargetAnswer::Kind::kAbsent, copies, {}};
  } catch (const ews::ServiceException& failure) {
    const bool all = failure.Cause().bOutage || EndsRun(failure.what());
    return {all ? TargetAnswer::Kind::kUnreachable : TargetAnswer::Kind::kNotAsked, 0,
            failure.what()};
  } catch (const std::runtime_error& failure) {  // there is no logon
    return {TargetAnswer::Kind::kUnreachable, 0, failure.what()};
  }
}

}  // namespace client
