#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxd/ews/EwsRequest.h"
#include "platform/UniqueFd.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/mailboxd/LocalMailbox.h"
#include "tests/support/MemoryRise.h"

// Clients that are slow, that stop, and that send more than anybody reads.
using namespace mailbox_test;

namespace {

const std::string kGetInbox = GetFolder(WellKnown("inbox"));
constexpr std::chrono::seconds kLongest{10};  // until an answer counts as missing

class Connection {
 public:
  explicit Connection(const std::string& url)
      : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in there{};
    there.sin_family = AF_INET;
    there.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    there.sin_port = htons(static_cast<std::uint16_t>(std::stoi(url.substr(url.rfind(':') + 1))));
    const timeval longest{kLongest.count(), 0};
    ::setsockopt(m_socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest);
    EXPECT_EQ(::connect(m_socket.Get(), reinterpret_cast<sockaddr*>(&there), sizeof there), 0);
  }
  // False when the server has ended the connection.
  bool Write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(m_socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
  }
  // The status of the answer; 0 when none comes.
  int Status() {
    std::string line;
    char c = 0;
    while (::recv(m_socket.Get(), &c, 1, 0) == 1 && c != '\n') line += c;
    return line.starts_with("HTTP/1.1 ") ? std::stoi(line.substr(9)) : 0;
  }
  // Whether the server ends the connection, behind what may still come.
  bool Ends() {
    char bytes[4096];
    ssize_t got = 0;
    while ((got = ::recv(m_socket.Get(), bytes, sizeof bytes, 0)) > 0) continue;
    return got == 0 || errno == ECONNRESET;
  }
  // Whether the server has neither answered nor ended the connection so far.
  bool IsWaitedFor() {
    char c = 0;
    return ::recv(m_socket.Get(), &c, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN;
  }

 private:
  platform::UniqueFd m_socket;
};

// What stands in front of a body; `more` are lines of the head.
std::string Head(const std::string& more) {
  return "POST /EWS/Exchange.asmx HTTP/1.1\r\nHost: localhost\r\nAuthorization: " +
         Basic("user@example.com:secret") + "\r\nContent-Type: text/xml\r\n" + more + "\r\n";
}
std::string Length(size_t bytes) { return "Content-Length: " + std::to_string(bytes) + "\r\n"; }

TEST(HostileClient, ABodyWithoutAnEndIsRefusedAtOnceAndTheConnectionEnds) {
  RunningServer server;
  const struct {
    std::string head;
    int status;
  } rows[] = {
      {Head(""), 411},
      {Head("Content-Length: -1\r\n"), 400},
      {Head("Content-Length: ten\r\n"), 400},
      {Head("Content-Length: 99999999999999999999999\r\n"), 400},
      {Head(Length(5) + Length(6)), 400},
      {Head("Transfer-Encoding: gzip\r\n"), 501},
      {Head(Length(5) + "Content-Encoding: gzip\r\n"), 415},
      {"POST / HTTP/1.1\r\nContent-Type: multipart/form-data; boundary=x\r\n\r\n", 415},
      {"GET /" + std::string(100000, 'x') + " HTTP/1.1\r\n\r\n", 414},
      {"no request at all\r\n\r\n", 400},
  };
  for (const auto& row : rows) {
    Connection client(server->Url());
    client.Write(row.head);
    EXPECT_EQ(client.Status(), row.status) << row.head.substr(0, 300);
  }
  Connection client(server->Url());
  client.Write(Head("Content-Length: -1\r\n") + kGetInbox);
  EXPECT_TRUE(client.Ends());
}

TEST(HostileClient, BytesOneByOneAreARequestAndNobodyWaitsForThem) {
  RunningServer server;
  const std::string request =
      Head(Length(kGetInbox.size()).append("Connection: close\r\n")) + kGetInbox;
  Connection client(server->Url());
  for (size_t i = 0; i < request.size(); ++i) {
    ASSERT_TRUE(client.Write(std::string_view(request).substr(i, 1)));
    if (i % 100 != 0) continue;
    EXPECT_EQ(Send({server->EwsUrl(), kGetInbox}).status, 200);
  }
  EXPECT_EQ(client.Status(), 200);
  EXPECT_TRUE(client.Ends());
}

TEST(HostileClient, OnesThatStopAreLetGoWithNothingDoneAndOthersAreServed) {
  const std::string save = CreateMessage(WellKnown("inbox"), MimeField(std::string(50000, 'x')));
  const std::string half = save.substr(0, save.size() / 2);
  const struct {
    std::string part;
    int status;
  } rows[] = {{Head(Length(save.size())).substr(0, 60), 400},
              {Head(Length(save.size())) + half, 408},
              {Head("Transfer-Encoding: chunked\r\n") + "4\r\n<a", 408}};
  const auto stopping = [&](RunningServer& server) {
    std::vector<Connection> clients;
    for (int i = 0; i < 40; ++i) {
      clients.emplace_back(server->Url());
      clients.back().Write(rows[i % 3].part);
    }
    return clients;
  };
  {
    RunningServer patient;
    std::vector<Connection> clients = stopping(patient);
    EXPECT_EQ(Send({patient->EwsUrl(), kGetInbox}).status, 200);
    for (Connection& client : clients) EXPECT_TRUE(client.IsWaitedFor());
  }
  mailbox::ServerOptions options;
  options.patience = std::chrono::seconds(1);
  RunningServer server(options);
  std::vector<Connection> clients = stopping(server);
  for (size_t i = 0; i < clients.size(); ++i) EXPECT_EQ(clients[i].Status(), rows[i % 3].status);
  EXPECT_TRUE(Holds(Send({server->EwsUrl(), kGetInbox}).body, {"<t:TotalCount>0<"}));
  EXPECT_TRUE(clients[1].Ends());
  EXPECT_TRUE(clients[2].Ends());
  {
    Connection gone(server->Url());
    gone.Write(Head(Length(save.size())) + half);
  }
  EXPECT_TRUE(Holds(Send({server->EwsUrl(), kGetInbox}).body, {"<t:TotalCount>0<"}));
}

TEST(HostileClient, OnesThatAskForNothingKeepNobodyOut) {
  RunningServer server(WithFaults({"autodiscover:latency:3000"}));
  Connection working(server->Url());  // whose answer is long in coming
  working.Write("GET /autodiscover/autodiscover.xml HTTP/1.1\r\nAuthorization: " +
                Basic("user@example.com:secret") + "\r\n\r\n");
  const std::string request = Head(Length(kGetInbox.size())) + kGetInbox;
  std::vector<Connection> idle;
  for (int i = 0; i < 100; ++i) {  // more than it has threads
    idle.emplace_back(server->Url());
    if (i % 3 == 0) idle.back().Write(request);
    if (i % 3 == 1) idle.back().Write(request.substr(0, 60));
  }
  for (int i = 0; i < 10; ++i) EXPECT_EQ(Send({server->EwsUrl(), kGetInbox}).status, 200);
  EXPECT_EQ(working.Status(), 200);
}

TEST(HostileClient, ARequestThatIsAllMarkupIsRefusedBeforeItIsATree) {
  const auto rise = [](size_t tags, std::string_view fault) {
    std::string body = kGetInbox;
    std::string tree;
    for (size_t i = 0; i < tags; ++i) tree += "<a/>";
    body.insert(body.find("<m:GetFolder"), tree);
    RunningServer server;
    return test_support::MemoryRise([&] {
      const Reply reply = Send({server->EwsUrl(), body});
      EXPECT_EQ(reply.status, 500);
      EXPECT_THAT(reply.body, testing::HasSubstr(fault));
      EXPECT_EQ(Send({server->EwsUrl(), kGetInbox}).status, 200);
    });
  };
  EXPECT_LT(rise(mailbox::kMostMarkup, "too much markup"), 40);
  EXPECT_LT(rise(mailbox::kMostMarkup - 20, "'a'"), 150);
}

TEST(HostileClient, MoreThanIsReadIsTooLargeInOnePieceAndInMany) {
  RunningServer server;
  const std::string piece(1 << 20, 'x');
  constexpr int kPieces = 301;  // MB; 300 are read
  Connection whole(server->Url());
  whole.Write(Head(Length(kPieces * piece.size())));
  for (int i = 0; i < kPieces; ++i) ASSERT_TRUE(whole.Write(piece));
  EXPECT_EQ(whole.Status(), 413);
  Connection pieces(server->Url());
  pieces.Write(Head("Transfer-Encoding: chunked\r\n"));
  bool writes = true;
  for (int i = 0; writes && i < kPieces; ++i) writes = pieces.Write("100000\r\n" + piece + "\r\n");
  pieces.Write("0\r\n\r\n");
  EXPECT_EQ(pieces.Status(), 413);
  EXPECT_EQ(Send({server->EwsUrl(), kGetInbox}).status, 200);
}

}  // namespace
