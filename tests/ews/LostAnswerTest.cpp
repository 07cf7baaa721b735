#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <charconv>
#include <string>
#include <thread>

#include "platform/UniqueFd.h"
#include "tests/ews/Answers.h"
#include "tests/ews/WiredService.h"

namespace {

// A server that answers the first request, takes the second one whole on the same connection, and
// is gone then: nobody listens any more when that connection ends.
class ServerThatVanishes {
 public:
  ServerThatVanishes() : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listener.Get(), name, size) != 0 || listen(m_listener.Get(), 5) != 0 ||
        getsockname(m_listener.Get(), name, &size) != 0) {
      throw std::runtime_error("no port for a test's server");
    }
    m_url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
    m_thread = std::thread([this] { Serve(); });
  }
  ~ServerThatVanishes() { m_thread.join(); }

  const std::string& Url() const { return m_url; }

 private:
  void Serve() {
    const platform::UniqueFd connection(accept(m_listener.Get(), nullptr, nullptr));
    ReadRequest(connection.Get());
    const std::string body = answers::Found({});
    const std::string answer = "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: " +
                               std::to_string(body.size()) + "\r\n\r\n" + body;
    (void)!write(connection.Get(), answer.data(), answer.size());
    ReadRequest(connection.Get());
    m_listener.Reset();
  }
  static void ReadRequest(int fd) {
    std::string text;
    size_t end = std::string::npos;
    size_t length = 0;
    char bytes[4096];
    while (end == std::string::npos || text.size() < end + length) {
      const ssize_t got = read(fd, bytes, sizeof bytes);
      if (got <= 0) return;
      text.append(bytes, static_cast<size_t>(got));
      const size_t header = text.find("\r\n\r\n");
      if (end != std::string::npos || header == std::string::npos) continue;
      end = header + 4;
      const size_t field = text.find("Content-Length: ") + 16;
      std::from_chars(text.data() + field, text.data() + text.size(), length);
    }
  }

  platform::UniqueFd m_listener;
  std::string m_url;
  std::thread m_thread;
};

TEST(LostAnswer, AMailThatWasTakenIsNoRefusedConnection) {
  const SettingsKeeper settings;
  for (const bool safe : {true, false}) {
    ews::Settings().bSafe = safe;
    const ServerThatVanishes server;
    WiredService wire(server.Url());
    EXPECT_EQ(wire.Find(), "no exception");  // leaves a kept connection
    EXPECT_THAT(wire.Save(), testing::HasSubstr(ews::kMayBeCarriedOut));
  }
}

}  // namespace
