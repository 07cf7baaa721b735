#include "client/run/TargetService.h"

namespace client {

const std::shared_ptr<ews::ExchangeService>& TargetService::Get() {
  constexpr auto kTokenUse = std::chrono::minutes(45);  // of the hour that a token is good for
  const auto now = std::chrono::steady_clock::now();
  if (!m_service || (m_target.TokenRoute() && now - m_since > kTokenUse)) {
    m_service = LogOnTo(m_target);
    m_since = now;
  }
  return m_service;
}

}  // namespace client
