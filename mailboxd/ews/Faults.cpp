#include "mailboxd/ews/Faults.h"

#include <algorithm>
#include <array>
#include <vector>

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

bool Faults::Add(std::string_view order) {
  std::vector<std::string_view> parts = Parts(order);
  const bool isSoap = parts.front() == "soap";
  if (isSoap) parts.erase(parts.begin());
  if (parts.size() < 2 || parts.size() > 3) return false;
  const std::string name(parts[0]);
  const auto number = Number(parts[1]);
  const auto value = parts.size() == 3 ? Number(parts[2]) : std::optional(0);
  if (!number || !value) return false;
  const auto cut = std::ranges::find(kCuts, name, &CutRow::name);
  const std::lock_guard lock(m_mutex);
  if (isSoap && (!IsKnownCode(name) || parts.size() == 3)) return false;
  if (isSoap) {
    m_soapFaults[name] = {*number, 0};
  } else if (name == "busy") {
    m_busy = {*number, parts.size() == 3 ? *value : kDefaultBackOff};
  } else if (IsStatus(name)) {
    m_statuses[name] = {*number, *value};
  } else if (parts.size() == 3) {
    return false;
  } else if (cut != kCuts.end()) {
    m_cuts[cut->cut] = *number;
  } else if (name == "latency") {
    m_latency = *number;
  } else if (name == "hold") {
    m_hold = *number;
  } else if (IsKnownCode(name)) {
    m_itemErrors[name] = {*number, 0};
  } else {
    return false;
  }
  return true;
}

bool Faults::Take(Cut cut) {
  const std::lock_guard lock(m_mutex);
  const auto found = m_cuts.find(cut);
  return found != m_cuts.end() && found->second > 0 && found->second-- > 0;
}

std::optional<int> Faults::TakeBusy() {
  const std::lock_guard lock(m_mutex);
  if (m_busy.count == 0) return std::nullopt;
  --m_busy.count;
  return m_busy.value;
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
  const auto* taken = TakeOne(m_statuses);
  if (taken == nullptr) return std::nullopt;
  return Status{Number(taken->first).value_or(0), taken->second.value};
}

std::string Faults::TakeSoapFault() {
  const std::lock_guard lock(m_mutex);
  const auto* taken = TakeOne(m_soapFaults);
  return taken != nullptr ? taken->first : "";
}

std::string Faults::TakeItemError() {
  const std::lock_guard lock(m_mutex);
  const auto* taken = TakeOne(m_itemErrors);
  return taken != nullptr ? taken->first : "";
}

int Faults::Latency() const {
  const std::lock_guard lock(m_mutex);
  return m_latency;
}

int Faults::Hold() const {
  const std::lock_guard lock(m_mutex);
  return m_hold;
}

}  // namespace mailbox
