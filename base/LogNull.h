#pragma once

#include <string_view>

#include "base/LogBase.h"

namespace mail {

// The silent log.
class LogNull final : public LogBase {
 public:
  LogNull() { m_bSilent = true; }
  void EnterContext(std::string_view) override {}
  void LeaveContext() override {}
  void LogError(std::string_view) override {}
  void LogInfo(std::string_view) override {}
  void LogData(std::string_view, std::string_view) override {}
};

}  // namespace mail
