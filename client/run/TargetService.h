#pragma once

#include <chrono>
#include <memory>

#include "client/run/Target.h"

namespace client {

// A connection of our own to the target's server beside the engine's, made when it is first needed
// and anew before its token ends.
class TargetService {
 public:
  explicit TargetService(const Target& target) : m_target(target) {}  // which must outlive this
  // Throws std::runtime_error with the reason where there is no logon.
  const std::shared_ptr<ews::ExchangeService>& Get();

 private:
  const Target& m_target;
  std::shared_ptr<ews::ExchangeService> m_service;
  std::chrono::steady_clock::time_point m_since;
};

}  // namespace client
