#pragma once

#include <cstdint>
#include <string_view>

namespace mail {

// Where the library tells what it did and why it failed. Texts are UTF-8, lines without an end.
// Implementations do not throw and hold on to none of the views.
class LogBase {
 public:
  virtual ~LogBase() = default;

  virtual void LogError(std::string_view strText) = 0;
  virtual void LogInfo(std::string_view strText) = 0;
  // A context is a named group of lines; contexts nest. See LogContextExitor.
  virtual void EnterContext(std::string_view strName) = 0;
  virtual void LeaveContext() = 0;
  virtual void LogData(std::string_view strName, std::string_view strText) = 0;

  void LogDataLong(std::string_view strName, std::int64_t nValue);

  // Guards lines that only a close look needs: test it before LogInfo and LogData.
  bool m_bVerbose = false;
  // Guards what only the library's developers look at.
  bool m_bDebug = false;
  // Says that nothing is kept, so that the contexts of short work need not be entered.
  bool m_bSilent = false;
};

}  // namespace mail
