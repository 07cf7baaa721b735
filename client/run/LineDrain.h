#pragma once

#include <functional>
#include <string>
#include <thread>

#include "platform/UniqueFd.h"

namespace client {

// Reads lines from a pipe on a thread of its own until its other end is closed or Stop is called,
// so that a program which writes there is never held up.
class LineDrain {
 public:
  using Handler = std::function<void(const std::string& line)>;  // called on that thread

  LineDrain(platform::UniqueFd readEnd, Handler onLine);
  ~LineDrain();
  LineDrain(const LineDrain&) = delete;
  LineDrain& operator=(const LineDrain&) = delete;

 private:
  void Run(const Handler& onLine);

  platform::UniqueFd m_readEnd;
  platform::UniqueFd m_stopRead;
  platform::UniqueFd m_stopWrite;
  std::thread m_thread;
};

struct Pipe {
  platform::UniqueFd readEnd;
  platform::UniqueFd writeEnd;
};
// Both ends close-on-exec. Throws std::system_error.
Pipe MakePipe();

}  // namespace client
