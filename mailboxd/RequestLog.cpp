#include "mailboxd/RequestLog.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "mailboxd/store/Store.h"

namespace mailbox {
namespace {

// A column is one word: what a client sends must not make columns or lines of its own.
std::string Word(std::string text) {
  constexpr size_t kLongest = 300;
  text.resize(std::min(text.size(), kLongest));
  std::ranges::replace_if(
      text, [](char c) { return static_cast<unsigned char>(c) <= 0x20 || c == 0x7F; }, '_');
  return text.empty() ? "-" : text;
}

}  // namespace

RequestLog::RequestLog(const std::string& path) {
  if (path.empty()) return;
  m_file.reset(std::fopen(path.c_str(), "ae"));
  if (!m_file) throw std::runtime_error(path + " cannot be opened: " + std::strerror(errno));
}

void RequestLog::Add(const Entry& entry) {
  if (!m_file) return;
  const std::string words = UtcNow() + " " + Word(entry.method) + " " + Word(entry.path) + " " +
                            Word(entry.operation) + " " + Word(entry.mailbox) + " ";
  const std::string numbers = std::to_string(entry.status) + " " + std::to_string(entry.received) +
                              " " + std::to_string(entry.sent) + " " +
                              std::to_string(entry.microseconds) + "\n";
  const std::lock_guard lock(m_mutex);
  std::fputs((words + numbers).c_str(), m_file.get());
  std::fflush(m_file.get());
}

}  // namespace mailbox
