#pragma once

#include <cstdint>
#include <string>

namespace client {

// What one command added to a log of the engine. The log's bytes are as the engine writes them.
class LogTail {
 public:
  explicit LogTail(std::string path) : m_path(std::move(path)) {}

  void Mark();  // what is added from here on counts
  // The bytes since the mark; empty where the log is missing or cannot be read.
  std::string Added() const;

 private:
  std::string m_path;
  std::uint64_t m_offset = 0;  // bytes
};

}  // namespace client
