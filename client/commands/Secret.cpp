#include "client/commands/Secret.h"

#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

#include <fmt/format.h>

#include "client/commands/CommandFiles.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

// Turns the echo of the terminal off while it lives.
class NoEcho {
 public:
  NoEcho() {
    tcgetattr(STDIN_FILENO, &m_before);
    termios quiet = m_before;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
  }
  ~NoEcho() { tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before); }
  NoEcho(const NoEcho&) = delete;
  NoEcho& operator=(const NoEcho&) = delete;

 private:
  termios m_before{};
};

}  // namespace

std::string ReadSecret(const std::string& fileName, const std::string& prompt,
                       const std::string& option) {
  std::string secret;
  if (!fileName.empty()) {
    try {
      secret = ReadWholeFile(fileName);
    } catch (const ReadError& error) {
      throw std::runtime_error(CannotRead(fileName, error.Reason()));
    }
    secret.resize(std::min(secret.size(), secret.find_first_of("\r\n")));
    if (secret.empty()) {
      throw std::runtime_error(CannotRead(fileName, "its first line is empty"));
    }
    return secret;
  }
  if (!isatty(STDIN_FILENO)) {
    throw SecretError(fmt::format("{} is needed where there is no terminal", option));
  }
  const NoEcho noEcho;
  fmt::print(stderr, "{}: ", prompt);
  std::getline(std::cin, secret);
  fmt::print(stderr, "\n");
  if (secret.empty()) throw std::runtime_error("nothing was typed");
  return secret;
}

}  // namespace client
