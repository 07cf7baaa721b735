#include "client/run/FailuresInARow.h"

#include <fmt/format.h>

#include "client/run/ItemSender.h"
#include "client/run/StoreLook.h"
#include "ews/MailboxFull.h"

namespace client {

namespace {

constexpr int kMost = 20;

// Failures of the way to the target, as the engine words them; a server's own answers are not, nor
// is what a store says of an item.
bool IsOfTarget(const Target& target, const std::string& text) {
  if (target.Store()) return IsOfStore(text);
  return text.find("The request failed.") != std::string::npos || text == kNotRenewed;
}

// The same failure tells other times and ports from one item to the next.
std::string WithoutDigits(std::string text) {
  std::erase_if(text, [](char c) { return c >= '0' && c <= '9'; });
  return text;
}

}  // namespace

std::string FailuresInARow::Add(const Outcome& outcome) {
  if (outcome.kind == Outcome::Kind::kKnown) return {};  // says nothing about what comes
  if (std::string full = AddFull(outcome); !full.empty()) return full;
  const bool unproved = outcome.kind == Outcome::Kind::kNotConfirmed;
  if (!unproved && (outcome.Arrived() || !IsOfTarget(m_target, outcome.text))) {
    m_count = 0;
    return {};
  }
  const std::string text = WithoutDigits(outcome.text);
  m_count = text == m_last ? m_count + 1 : 1;
  m_last = text;
  if (m_count < kMost) return {};
  // Without a ledger, what is sent on would be sent again by the next run.
  return fmt::format("{} items in a row {}: {}", kMost,
                     unproved ? "could not be confirmed" : "failed with", outcome.text);
}

std::string FailuresInARow::AddFull(const Outcome& outcome) {
  if (outcome.kind == Outcome::Kind::kSent) m_full = 0;
  if (outcome.Arrived() || !ews::SaysMailboxFull(outcome.text) || ++m_full < kMost) return {};
  return fmt::format("the mailbox is full: it had no room for {} items, and took none between",
                     kMost);
}

}  // namespace client
