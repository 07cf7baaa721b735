#include "client/run/LateCopies.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "client/run/Outcome.h"
#include "ews/EwsTransport.h"

namespace client {
namespace {

// The target may have been asked before, and would have to be asked again.
std::string NotLookedForText(std::size_t copies) {
  return fmt::format(
      "may be there {}: the run ended before it looked for what comes late; the next one looks",
      TimesText(copies));
}

}  // namespace

void LateCopies::Watch(Item item, const LostTry& lost) {
  m_due = std::max(m_due, lost.at + std::max(lost.toFinish, kLate));
  m_items.push_back(std::move(item));
}

std::chrono::milliseconds LateCopies::TimeLeft() const {
  if (m_items.empty()) return {};
  const auto left = m_due - ews::Transport().Now();
  return std::max(std::chrono::ceil<std::chrono::milliseconds>(left), {});
}

void LateCopies::Look(bool ask, const Tell& tell) {
  TargetAnswer answer{TargetAnswer::Kind::kUnreachable, 0, {}};
  ask = ask && WaitFor(TimeLeft());
  for (const Item& item : std::exchange(m_items, {})) {
    if (ask) answer = m_unknown.CountOnce(item.entry.folder, item.names);
    ask = ask && !EndsRun(answer.reason);  // each of the rest would be waited for in vain, too
    std::string remark;
    if (answer.copies > item.shown) {
      remark = CopiesText(answer.copies);
    } else if (!answer.WasAsked()) {
      remark =
          answer.reason.empty() ? NotLookedForText(item.sent) : DoubtText(item.sent, answer.reason);
    }
    const bool isInVain = answer.kind == TargetAnswer::Kind::kUnreachable;
    tell(item, remark, isInVain ? Looked::kInVain : Looked::kForGood);
  }
}

}  // namespace client
