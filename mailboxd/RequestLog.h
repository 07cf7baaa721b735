#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

namespace mailbox {

// A line for each request: when, what, for whom, and what became of it. Nothing of what a request
// holds, nor who proved to be whom with what.
class RequestLog {
 public:
  struct Entry {
    std::string method;
    std::string path;
    std::string operation;  // "CreateItem"; "" where there is none
    std::string mailbox;
    int status = 0;              // 0: the connection was cut instead
    std::uint64_t received = 0;  // bytes of the bodies
    std::uint64_t sent = 0;
    std::int64_t microseconds = 0;
  };

  // Keeps nothing for the path "". Throws std::runtime_error when the file cannot be opened.
  explicit RequestLog(const std::string& path);

  bool IsOn() const { return m_file != nullptr; }
  // May be called from any thread; the line is with the system when it returns.
  void Add(const Entry& entry);

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::mutex m_mutex;
  std::unique_ptr<std::FILE, Closer> m_file;
};

}  // namespace mailbox
