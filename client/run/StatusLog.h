#pragma once

#include <string>

#include "client/run/LogTail.h"

namespace client {

inline constexpr char kStatusLogName[] = "StatusLog.txt";  // in the run folder

// The run's status log, in the ANSI code page.
class StatusLog : public LogTail {
 public:
  using LogTail::LogTail;
  // The last non-empty line since the mark, trimmed, in UTF-8; empty when there is none.
  std::string LastLine() const;
};

// A status line without the engine's label in front of the message: what people read.
std::string ReasonOf(const std::string& line);

}  // namespace client
