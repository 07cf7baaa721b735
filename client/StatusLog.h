#pragma once

#include <cstdint>
#include <string>

namespace client {

inline constexpr char kStatusLogName[] = "StatusLog.txt";  // in the run folder

// Reads what a command added to the run's status log.
class StatusLog {
 public:
  explicit StatusLog(std::string path) : m_path(std::move(path)) {}

  void Mark();  // what is added from here on counts
  // The last non-empty line since the mark, trimmed, in UTF-8; empty when there is none.
  std::string LastLine() const;

 private:
  std::string m_path;
  std::uint64_t m_offset = 0;
};

// A status line without the engine's label in front of the message: what people read.
std::string ReasonOf(const std::string& line);

}  // namespace client
