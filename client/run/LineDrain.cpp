#include "client/run/LineDrain.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace client {
namespace {

constexpr size_t kLongestLine = 8192;  // bytes; a longer one is handed over in pieces

}  // namespace

Pipe MakePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  return {platform::UniqueFd(ends[0]), platform::UniqueFd(ends[1])};
}

LineDrain::LineDrain(platform::UniqueFd readEnd, Handler onLine) : m_readEnd(std::move(readEnd)) {
  Pipe stop = MakePipe();
  m_stopRead = std::move(stop.readEnd);
  m_stopWrite = std::move(stop.writeEnd);
  m_thread = std::thread([this, handler = std::move(onLine)] { Run(handler); });
}

LineDrain::~LineDrain() {
  m_stopWrite.Reset();
  m_thread.join();
}

void LineDrain::Run(const Handler& onLine) {
  std::string text;
  std::array<char, 4096> buffer;
  for (;;) {
    std::array<pollfd, 2> waits = {{{m_readEnd.Get(), POLLIN, 0}, {m_stopRead.Get(), POLLIN, 0}}};
    if (poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR) break;
    // What has been written already is read before a stop counts.
    if (!waits[0].revents && waits[1].revents) break;
    if (!waits[0].revents) continue;
    const ssize_t got = read(m_readEnd.Get(), buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    for (ssize_t i = 0; i < got; ++i) {
      const char c = buffer[static_cast<size_t>(i)];
      if (c != '\n') text += c;
      if (c == '\n' || text.size() >= kLongestLine) {
        if (!text.empty()) onLine(text);
        text.clear();
      }
    }
  }
  if (!text.empty()) onLine(text);
}

}  // namespace client
