#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace client {

// Messages for people, on standard error. On a terminal a progress bar may stand below them.
// Functions may be called from any thread. Control characters of a text never reach the terminal.
class Console {
 public:
  Console();
  bool IsTerminal() const { return m_terminal; }

  void Say(const std::string& text);                       // one line
  void SayFields(const std::vector<std::string>& fields);  // one line, divided by tabs
  void SayPlain(const std::string& line);  // one line, only where no progress bar is shown
  // Draws the bar at most ten times a second.
  void Progress(std::uint64_t done, std::uint64_t total, const std::string& detail);
  void EndProgress();  // takes the bar away

 private:
  void Erase();

  std::mutex m_mutex;
  bool m_terminal = false;
  bool m_barShown = false;
  std::int64_t m_lastDrawn = 0;  // ms
};

}  // namespace client
