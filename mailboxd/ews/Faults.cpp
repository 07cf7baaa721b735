#include "mailboxd/ews/Faults.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "mailboxd/ews/EwsFailure.h"
#include "mailboxd/ews/Operations.h"

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

struct PlaceRow {
  std::string_view name;
  Place place;
};
constexpr std::array<PlaceRow, 2> kPlaces = {{
    {"token", Place::kToken},
    {"autodiscover", Place::kAutodiscover},
}};

std::optional<int> Number(std::string_view text) {
  const auto value = mail::wholeNumber<int>(text);
  return value.value_or(-1) >= 0 ? value : std::nullopt;
}

bool IsStatus(std::string_view name) {
  const int status = Number(name).value_or(0);
  return name.size() == 3 && status >= 400 && status < 600;
}

std::vector<std::string_view> SplitAtColons(std::string_view order) {
  std::vector<std::string_view> parts;
  for (;;) {
    const size_t colon = order.find(':');
    parts.push_back(order.substr(0, colon));
    if (colon == std::string_view::npos) return parts;
    order.remove_prefix(colon + 1);
  }
}

}  // namespace

bool Faults::AddAnywhere(Plan& plan, const Parts& parts) {
  const std::string name(parts[0]);
  const int count = Number(parts[1]).value_or(0);
  if (IsStatus(name)) {
    plan.statuses[name] = {count, parts.size() == 3 ? Number(parts[2]).value_or(0) : 0};
  } else if (parts.size() == 2 && name == "drop") {
    plan.cuts[Cut::kBehindBody] = count;
  } else if (parts.size() == 2 && name == "latency") {
    plan.latency = count;
  } else {
    return false;
  }
  return true;
}

bool Faults::AddForMailbox(Plan& plan, const Parts& parts) {
  const int number = Number(parts[1]).value_or(0);
  if (parts[0] == "busy") {
    plan.busy = {number, parts.size() == 3 ? Number(parts[2]).value_or(0) : kDefaultBackOff};
    return true;
  }
  if (parts.size() == 3) return false;
  const std::array<std::pair<std::string_view, int*>, 4> counts = {{{"expired", &plan.expired},
                                                                    {"broken", &plan.broken},
                                                                    {"close", &plan.close},
                                                                    {"hold", &plan.hold}}};
  const auto count = std::ranges::find(counts, parts[0], &std::pair<std::string_view, int*>::first);
  const auto cut = std::ranges::find(kCuts, parts[0], &CutRow::name);
  if (count != counts.end()) *count->second = number;
  if (cut != kCuts.end()) plan.cuts[cut->cut] = number;
  return count != counts.end() || cut != kCuts.end();
}

bool Faults::AddCode(Orders& orders, const Parts& parts) {
  if (parts.size() != 2 || !IsKnownCode(parts[0])) return false;
  orders[std::string(parts[0])] = {Number(parts[1]).value_or(0), 0};
  return true;
}

bool Faults::AddTo(Plans& plans, std::string_view order) {
  Parts parts = SplitAtColons(order);
  const std::string first(parts.front());
  const auto place = std::ranges::find(kPlaces, first, &PlaceRow::name);
  const bool isNamed = place != kPlaces.end() || first == "soap" || IsOperation(first);
  if (isNamed) parts.erase(parts.begin());
  const bool isWhole = parts.size() == 2 || parts.size() == 3;
  if (!isWhole || !std::all_of(parts.begin() + 1, parts.end(), Number)) return false;
  if (place != kPlaces.end()) return AddAnywhere(plans[place->place], parts);
  Plan& plan = plans[Place::kMailbox];
  if (first == "soap") return AddCode(plan.soapFaults, parts);
  if (isNamed) return AddCode(plan.errors[first], parts);
  return AddAnywhere(plan, parts) || AddForMailbox(plan, parts) || AddCode(plan.errors[""], parts);
}

bool Faults::Add(std::string_view order) {
  const std::lock_guard lock(m_mutex);
  return AddTo(m_plans, order);
}

bool Faults::AddLines(std::string_view lines) {
  const std::lock_guard lock(m_mutex);
  Plans plans = m_plans;
  while (!lines.empty()) {
    const size_t end = std::min(lines.find('\n'), lines.size());
    const std::string_view order = mail::trimmed(lines.substr(0, end));
    if (!order.empty() && !AddTo(plans, order)) return false;
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
  m_plans = std::move(plans);
  return true;
}

void Faults::Clear() {
  const std::lock_guard lock(m_mutex);
  m_plans.clear();
}

bool Faults::TakeExpired() {
  const std::lock_guard lock(m_mutex);
  int& count = m_plans[Place::kMailbox].expired;
  return count > 0 && count-- > 0;
}

bool Faults::TakeBroken() {
  const std::lock_guard lock(m_mutex);
  int& count = m_plans[Place::kMailbox].broken;
  return count > 0 && count-- > 0;
}

bool Faults::TakeClose() {
  const std::lock_guard lock(m_mutex);
  int& count = m_plans[Place::kMailbox].close;
  return count > 0 && count-- > 0;
}

bool Faults::Take(Cut cut, Place place) {
  const std::lock_guard lock(m_mutex);
  int& count = m_plans[place].cuts[cut];
  return count > 0 && count-- > 0;
}

std::optional<int> Faults::TakeBusy() {
  const std::lock_guard lock(m_mutex);
  Counted& busy = m_plans[Place::kMailbox].busy;
  if (busy.count == 0) return std::nullopt;
  --busy.count;
  return busy.value;
}

const Faults::Orders::value_type* Faults::TakeOne(Orders& orders) {
  for (auto& order : orders) {
    if (order.second.count == 0) continue;
    --order.second.count;
    return &order;
  }
  return nullptr;
}

std::optional<Faults::Status> Faults::TakeStatus(Place place) {
  const std::lock_guard lock(m_mutex);
  const auto* taken = TakeOne(m_plans[place].statuses);
  if (taken == nullptr) return std::nullopt;
  return Status{Number(taken->first).value_or(0), taken->second.value};
}

std::string Faults::TakeSoapFault() {
  const std::lock_guard lock(m_mutex);
  const auto* taken = TakeOne(m_plans[Place::kMailbox].soapFaults);
  return taken != nullptr ? taken->first : "";
}

std::string Faults::TakeError(std::string_view operation) {
  const std::lock_guard lock(m_mutex);
  auto& errors = m_plans[Place::kMailbox].errors;
  const auto named = errors.find(operation);
  const Orders::value_type* taken = named != errors.end() ? TakeOne(named->second) : nullptr;
  const bool saves = operation == "CreateItem" || operation == "UpdateItem";
  if (taken == nullptr && saves) taken = TakeOne(errors[""]);
  return taken != nullptr ? taken->first : "";
}

int Faults::Latency(Place place) const {
  const std::lock_guard lock(m_mutex);
  return m_plans[place].latency;
}

int Faults::Hold() const {
  const std::lock_guard lock(m_mutex);
  return m_plans[Place::kMailbox].hold;
}

}  // namespace mailbox
