#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <stdexcept>

#include "platform/UniqueFd.h"

namespace test_support {

// A port of 127.0.0.1 that nobody else is given while the object lives, also while nobody listens
// on it. Who asks for that very port with SO_REUSEADDR gets it, again and again.
class ReservedPort {
 public:
  ReservedPort() : m_held(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    if (setsockopt(m_held.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(m_held.Get(), name, size) != 0 || getsockname(m_held.Get(), name, &size) != 0) {
      throw std::runtime_error("no port for a test");
    }
    m_port = ntohs(address.sin_port);
  }

  int Port() const { return m_port; }

 private:
  platform::UniqueFd m_held;  // bound, and never listening
  int m_port = 0;
};

}  // namespace test_support
