#include "mailboxd/ews/Faults.h"

#include <optional>

#include "mailboxd/ews/EwsFailure.h"
#include "mailboxd/store/Numbers.h"

namespace mailbox {
namespace {

std::optional<int> Number(std::string_view text) {
  const auto value = WholeNumber<int>(text);
  return value.value_or(-1) >= 0 ? value : std::nullopt;
}

bool TakeOne(int& count) { return count > 0 && count-- > 0; }

}  // namespace

bool Faults::Add(std::string_view order) {
  const std::lock_guard lock(m_mutex);
  const size_t colon = order.find(':');
  if (colon == std::string_view::npos) return false;
  const std::string_view name = order.substr(0, colon);
  std::string_view rest = order.substr(colon + 1);
  const size_t second = rest.find(':');
  if (second != std::string_view::npos) {
    const auto backOff = Number(rest.substr(second + 1));
    if (name != "busy" || !backOff) return false;
    m_backOff = *backOff;
    rest = rest.substr(0, second);
  }
  const auto number = Number(rest);
  if (!number) return false;
  if (name == "busy") {
    m_busy = *number;
  } else if (name == "latency") {
    m_latency = *number;
  } else if (name == "drop") {
    m_drops = *number;
  } else if (IsKnownCode(name)) {
    m_codes[std::string(name)] = *number;
  } else {
    return false;
  }
  return true;
}

bool Faults::TakeDrop() {
  const std::lock_guard lock(m_mutex);
  return TakeOne(m_drops);
}

bool Faults::TakeBusy(int* backOff) {
  const std::lock_guard lock(m_mutex);
  *backOff = m_backOff;
  return TakeOne(m_busy);
}

std::string Faults::TakeItemError() {
  const std::lock_guard lock(m_mutex);
  for (auto& [code, count] : m_codes) {
    if (TakeOne(count)) return code;
  }
  return "";
}

int Faults::Latency() const {
  const std::lock_guard lock(m_mutex);
  return m_latency;
}

}  // namespace mailbox
