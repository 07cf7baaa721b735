#pragma once

#include <string_view>

#include "base/LogBase.h"

namespace mail {

// Opens a named context in a log for the life of the guard. The log must outlive it.
class LogContextExitor {
 public:
  LogContextExitor(LogBase& log, std::string_view strName) : m_log(log) {
    if (!m_log.m_bSilent) m_log.EnterContext(strName);
  }
  ~LogContextExitor() {
    if (!m_log.m_bSilent) m_log.LeaveContext();
  }
  LogContextExitor(const LogContextExitor&) = delete;
  LogContextExitor& operator=(const LogContextExitor&) = delete;

 private:
  LogBase& m_log;
};

}  // namespace mail
