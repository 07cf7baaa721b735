#include "client/show/Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <string_view>

#include <fmt/format.h>

#include "client/show/OutputText.h"

namespace client {
namespace {

constexpr std::int64_t kRedrawMilliseconds = 100;

std::int64_t Now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

size_t TerminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 20 ? size.ws_col : 80;
}

// The text cut to so many bytes, at a character.
std::string Cut(std::string text, size_t bytes) {
  if (text.size() <= bytes) return text;
  while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80) --bytes;
  text.resize(bytes);
  return text;
}

}  // namespace

Console::Console() : m_terminal(isatty(STDERR_FILENO) == 1) {}

void Console::Erase() {
  if (m_barShown) fmt::print(stderr, "\r\x1b[K");
  m_barShown = false;
}

void Console::Say(const std::string& text) {
  const std::lock_guard lock(m_mutex);
  Erase();
  fmt::print(stderr, "{}\n", OneLine(text));
}

void Console::SayFields(const std::vector<std::string>& fields) {
  std::vector<std::string> shown;
  std::ranges::transform(fields, std::back_inserter(shown), &OneLine);
  const std::lock_guard lock(m_mutex);
  Erase();
  fmt::print(stderr, "{}\n", fmt::join(shown, "\t"));
}

void Console::SayPlain(const std::string& line) {
  if (!m_terminal) Say(line);
}

void Console::Progress(std::uint64_t done, std::uint64_t total, const std::string& detail) {
  const std::lock_guard lock(m_mutex);
  if (!m_terminal || total == 0) return;
  const std::int64_t now = Now();
  if (m_barShown && now - m_lastDrawn < kRedrawMilliseconds) return;
  m_lastDrawn = now;
  constexpr std::uint64_t kBarCells = 30;
  const auto filled = static_cast<size_t>(done * kBarCells / total);
  const std::string line = fmt::format("[{}{}] {}/{} ", std::string(filled, '#'),
                                       std::string(kBarCells - filled, '.'), done, total);
  const size_t width = TerminalWidth() - 1;
  const size_t left = width > line.size() ? width - line.size() : 0;
  fmt::print(stderr, "\r\x1b[K{}{}", line, Cut(OneLine(detail), left));
  std::fflush(stderr);
  m_barShown = true;
}

void Console::EndProgress() {
  const std::lock_guard lock(m_mutex);
  Erase();
}

}  // namespace client
