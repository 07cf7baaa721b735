#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/LogBase.h"

namespace mail {

// The collecting log behind an object's lastErrorText. Its text has one line for each entry, with
// CR LF ends, indented by two blanks for each open context:
//
//   LoadMimeFile:
//     numMimeBytes: 1234
//     convert_a:
//       convertToUnicodeHC failed.
//     Failed.
//
// What is logged may come from hostile mail: control characters of an entry become blanks, an entry
// is cut at kMaxEntryBytes and the text ends, with a line that says so, at kMaxTextBytes.
class _ckLogger final : public LogBase {
 public:
  static constexpr std::size_t kMaxEntryBytes = 4000;
  static constexpr std::size_t kMaxTextBytes = 1'000'000;
  static constexpr std::size_t kMaxIndentedContexts = 40;  // deeper ones are indented alike

  void EnterContext(std::string_view strName) override;
  void LeaveContext() override;  // without an open context: nothing
  void LogError(std::string_view strText) override;
  void LogInfo(std::string_view strText) override;
  void LogData(std::string_view strName, std::string_view strText) override;

  // Drops the text; contexts that are open stay open.
  void clearLog();
  // UTF-8; good until the next entry.
  const std::string& text() const { return m_strText; }

 private:
  void addLine(std::string_view strName, std::string_view strSeparator, std::string_view strText);

  std::string m_strText;
  std::size_t m_nContexts = 0;
  bool m_bFull = false;
};

}  // namespace mail
