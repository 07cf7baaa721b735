#include "mailboxd/ews/Faults.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "mailboxd/ews/EwsFailure.h"

namespace mailbox {
namespace {

constexpr int kDefaultBackOff = 1000;  // milliseconds

struct CutRow {
  std::string_view name;
  Cut cut;
};
constexpr std::array<CutRow, 4> kCuts = {{
    {"drop-before", Cut::kBeforeBody},
    {"drop-in", Cut::kInBody},
    {"drop", Cut::kBehindBody},
    {"drop-saved", Cut::kSaved},
}};

std::optional<int> Number(std::string_view text) {
  const auto value = mail::wholeNumber<int>(text);
  return value.value_or(-1) >= 0 ? value : std::nullopt;
}

bool IsStatus(std::string_view name) {
  const int status = Number(name).value_or(0);
  return name.size() == 3 && status >= 400 && status < 600;
}

std::vector<std::string_view> Parts(std::string_view order) {
  std::vector<std::string_view> parts;
  for (;;) {
    const size_t colon = order.find(':');
    parts.push_back(order.substr(0, colon));
    if (colon == std::string_view::npos) return parts;
    order.remove_prefix(colon + 1);
  }
}

}  // namespace

bool Faults::AddTo(Plan& plan, std::string_view order) {
  std::vector<std::string_view> parts = Parts(order);
  const bool isSoap = parts.front() == "soap";
  if (isSoap) parts.erase(parts.begin());
  if (parts.size() < 2 || parts.size() > 3) return false;
  const std::string name(parts[0]);
  const auto number = Number(parts[1]);
  const auto value = parts.size() == 3 ? Number(parts[2]) : std::optional(0);
  if (!number || !value) return false;
  if (isSoap && (!IsKnownCode(name) || parts.size() == 3)) return false;
  const std::array<std::pair<std::string_view, int*>, 5> counts = {{{"expired", &plan.expired},
                                                                    {"broken", &plan.broken},
                                                                    {"close", &plan.close},
                                                                    {"latency", &plan.latency},
                                                                    {"hold", &plan.hold}}};
  const auto count = std::ranges::find(counts, name, &std::pair<std::string_view, int*>::first);
  const auto cut = std::ranges::find(kCuts, name, &CutRow::name);
  if (isSoap) {
    plan.soapFaults[name] = {*number, 0};
  } else if (name == "busy") {
    plan.busy = {*number, parts.size() == 3 ? *value : kDefaultBackOff};
  } else if (IsStatus(name)) {
    plan.statuses[name] = {*number, *value};
  } else if (parts.size() == 3) {
    return false;
  } else if (cut != kCuts.end()) {
    plan.cuts[cut->cut] = *number;
  } else if (count != counts.end()) {
    *count->second = *number;
  } else if (IsKnownCode(name)) {
    plan.itemErrors[name] = {*number, 0};
  } else {
    return false;
  }
  return true;
}

bool Faults::Add(std::string_view order) {
  const std::lock_guard lock(m_mutex);
  return AddTo(m_plan, order);
}

bool Faults::AddLines(std::string_view lines) {
  const std::lock_guard lock(m_mutex);
  Plan plan = m_plan;
  while (!lines.empty()) {
    const size_t end = std::min(lines.find('\n'), lines.size());
    const std::string_view order = mail::trimmed(lines.substr(0, end));
    if (!order.empty() && !AddTo(plan, order)) return false;
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
  m_plan = std::move(plan);
  return true;
}

void Faults::Clear() {
  const std::lock_guard lock(m_mutex);
  m_plan = {};
}

bool Faults::TakeExpired() {
  const std::lock_guard lock(m_mutex);
  return m_plan.expired > 0 && m_plan.expired-- > 0;
}

bool Faults::TakeBroken() {
  const std::lock_guard lock(m_mutex);
  return m_plan.broken > 0 && m_plan.broken-- > 0;
}

bool Faults::TakeClose() {
  const std::lock_guard lock(m_mutex);
  return m_plan.close > 0 && m_plan.close-- > 0;
}

bool Faults::Take(Cut cut) {
  const std::lock_guard lock(m_mutex);
  const auto found = m_plan.cuts.find(cut);
  return found != m_plan.cuts.end() && found->second > 0 && found->second-- > 0;
}

std::optional<int> Faults::TakeBusy() {
  const std::lock_guard lock(m_mutex);
  if (m_plan.busy.count == 0) return std::nullopt;
  --m_plan.busy.count;
  return m_plan.busy.value;
}

const Faults::Orders::value_type* Faults::TakeOne(Orders& orders) {
  for (auto& order : orders) {
    if (order.second.count == 0) continue;
    --order.second.count;
    return &order;
  }
  return nullptr;
}

std::optional<Faults::Status> Faults::TakeStatus() {
  const std::lock_guard lock(m_mutex);
  const auto* taken = TakeOne(m_plan.statuses);
  if (taken == nullptr) return std::nullopt;
  return Status{Number(taken->first).value_or(0), taken->second.value};
}

std::string Faults::TakeSoapFault() {
  const std::lock_guard lock(m_mutex);
  const auto* taken = TakeOne(m_plan.soapFaults);
  return taken != nullptr ? taken->first : "";
}

std::string Faults::TakeItemError() {
  const std::lock_guard lock(m_mutex);
  const auto* taken = TakeOne(m_plan.itemErrors);
  return taken != nullptr ? taken->first : "";
}

int Faults::Latency() const {
  const std::lock_guard lock(m_mutex);
  return m_plan.latency;
}

int Faults::Hold() const {
  const std::lock_guard lock(m_mutex);
  return m_plan.hold;
}

}  // namespace mailbox
