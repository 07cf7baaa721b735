#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <charconv>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "platform/UniqueFd.h"
#include "tests/ews/Answers.h"
#include "tests/ews/WiredService.h"

namespace {

constexpr size_t kWhole = std::string::npos;

// A server whose every connection is written out in a function that runs beside the test.
class RawServer {
 public:
  explicit RawServer(std::function<void(RawServer&)> serve)
      : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listener.Get(), name, size) != 0 || listen(m_listener.Get(), 5) != 0 ||
        getsockname(m_listener.Get(), name, &size) != 0) {
      throw std::runtime_error("no port for a test's server");
    }
    const timeval limit{20, 0};  // of accept and read: a client that does not come is a failure
    setsockopt(m_listener.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    m_url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
    m_thread = std::thread([this, serve = std::move(serve)] { serve(*this); });
  }
  ~RawServer() { m_thread.join(); }

  const std::string& Url() const { return m_url; }

  platform::UniqueFd Accept() {
    return platform::UniqueFd(accept(m_listener.Get(), nullptr, nullptr));
  }
  void StopListening() { m_listener.Reset(); }
  static void AnswerFound(int fd) {
    const std::string body = answers::Found({});
    const std::string answer = "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: " +
                               std::to_string(body.size()) + "\r\n\r\n" + body;
    (void)!write(fd, answer.data(), answer.size());
  }
  // Reads one request, or so many bytes of it.
  static void ReadRequest(int fd, size_t most = kWhole) {
    std::string text;
    size_t end = std::string::npos;
    size_t length = 0;
    char bytes[4096];
    while (text.size() < most && (end == std::string::npos || text.size() < end + length)) {
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

 private:
  platform::UniqueFd m_listener;
  std::string m_url;
  std::thread m_thread;
};

// Answers the first request, takes the second one whole on the same connection, and is gone then:
// nobody listens any more when that connection ends.
void Vanish(RawServer& server) {
  const platform::UniqueFd connection = server.Accept();
  RawServer::ReadRequest(connection.Get());
  RawServer::AnswerFound(connection.Get());
  RawServer::ReadRequest(connection.Get());
  server.StopListening();
}

TEST(LostAnswer, AMailThatWasTakenIsNoRefusedConnection) {
  const SettingsKeeper settings;
  for (const bool safe : {true, false}) {
    ews::Settings().bSafe = safe;
    const RawServer server(&Vanish);
    WiredService wire(server.Url());
    EXPECT_EQ(wire.Find(), "no exception");  // leaves a kept connection
    EXPECT_THAT(wire.Save(), testing::HasSubstr(ews::kMayBeCarriedOut));
  }
}

// Resets the first connection in the middle of its request, and answers the second.
void CutOnce(RawServer& server) {
  {
    const platform::UniqueFd connection = server.Accept();
    RawServer::ReadRequest(connection.Get(), 1 << 20);
    const linger reset{1, 0};
    setsockopt(connection.Get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
  }
  const platform::UniqueFd connection = server.Accept();
  RawServer::ReadRequest(connection.Get());
  RawServer::AnswerFound(connection.Get());
}

TEST(LostAnswer, AMailThatIsResetInItsMiddleIsToldByItsSizeWhereOthersAreServed) {
  const SettingsKeeper settings;
  ews::Settings().bSafe = true;
  const RawServer server(&CutOnce);
  WiredService wire(server.Url());
  ews::EmailMessage mail(wire.Shared());
  constexpr size_t kBytes = 30 << 20;  // more than all buffers on the way
  mail.SetMimeContent(
      ews::MimeContent(u"ASCII", std::make_unique<unsigned char[]>(kBytes), kBytes));
  EXPECT_EQ(TextOf([&] { mail.Save(wire.Root()); }),
            "The connection to 127.0.0.1 was cut each time while 41.9 MB went out, and other "
            "requests are answered.");
}

}  // namespace
