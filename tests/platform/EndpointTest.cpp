#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <functional>
#include <future>
#include <system_error>
#include <thread>

#include "TempFolder.h"
#include "platform/EndpointClient.h"
#include "platform/EndpointServer.h"
#include "platform/EndpointSocket.h"

namespace {

using namespace std::chrono_literals;
using platform::EndpointClient;
using platform::EndpointError;
using platform::EndpointServer;
using platform::FrameKind;
using platform::UniqueFd;
using Bytes = std::vector<unsigned char>;

constexpr std::chrono::milliseconds kLongest = 2min;  // until what has to come counts as missing
constexpr int kLongestMs = kLongest.count();

class Script : public EndpointServer::Handler {
 public:
  std::function<std::int32_t(std::uint32_t, std::uint64_t, std::span<const unsigned char>)> command;
  std::function<void()> close;

  std::int32_t OnCopyData(std::uint32_t message, std::uint64_t sender,
                          std::span<const unsigned char> bytes) override {
    return command ? command(message, sender, bytes) : static_cast<std::int32_t>(message);
  }
  void OnClose() override { close(); }
};

// Two ends of a pipe: one thread or process tells another that it has come to a point.
class Point {
 public:
  Point() {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    m_read.Reset(ends[0]);
    m_write.Reset(ends[1]);
  }
  void Reach() const { EXPECT_EQ(write(m_write.Get(), "x", 1), 1); }
  void Await() const {
    char byte;
    ssize_t count;
    do count = read(m_read.Get(), &byte, 1);
    while (count < 0 && errno == EINTR);
    EXPECT_EQ(count, 1);
  }

 private:
  UniqueFd m_read;
  UniqueFd m_write;
};

std::string FreshTitle() {
  static int count = 0;
  return "<GUID>test " + std::to_string(getpid()) + " " + std::to_string(++count);
}

// A socket that joins the address by connect or bind; none when it does not.
UniqueFd SocketAt(const platform::EndpointAddress& address,
                  int (*join)(int, const sockaddr*, socklen_t)) {
  const auto* name = reinterpret_cast<const sockaddr*>(&address.objAddress);
  UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (join(fd.Get(), name, address.nLength) != 0) fd.Reset();
  return fd;
}

Bytes CommandFrame(std::uint32_t message, std::uint64_t sender, const Bytes& bytes = {}) {
  Bytes payload;
  platform::AppendLittleEndian(payload, message);
  platform::AppendLittleEndian(payload, sender);
  payload.insert(payload.end(), bytes.begin(), bytes.end());
  return platform::BuildFrame(FrameKind::kCopyData, payload);
}

Bytes AnswerFrame(std::int64_t answer) {
  Bytes payload;
  platform::AppendLittleEndian(payload, answer);
  return platform::BuildFrame(FrameKind::kNotifyResult, payload);
}

void Send(const UniqueFd& fd, const Bytes& bytes) {
  ASSERT_TRUE(platform::SendAll(fd.Get(), bytes, kLongestMs));
}

// A server in a thread of its own, ended by a close frame.
class Endpoint : public testing::Test {
 protected:
  void Serve() {
    if (!m_script.close) m_script.close = [this] { m_server->Stop(); };
    m_server = std::make_unique<EndpointServer>(m_title);
    m_thread = std::thread([this] { m_server->Run(m_script); });
  }
  void Finish() {
    if (!m_thread.joinable()) return;
    EndpointClient(m_title, kLongest).Close();
    m_thread.join();
    m_server.reset();
  }
  ~Endpoint() override { Finish(); }

  EndpointClient Client() const { return EndpointClient(m_title, kLongest); }
  // A connection that has sent these bytes.
  UniqueFd RawClient(const Bytes& bytes = {}) const {
    UniqueFd fd = SocketAt(platform::EndpointAddressOf(m_title), connect);
    EXPECT_TRUE(fd);
    Send(fd, bytes);
    return fd;
  }

  std::string m_title = FreshTitle();
  Script m_script;
  std::unique_ptr<EndpointServer> m_server;
  std::thread m_thread;
};

// The next frame, or nothing when the other side hung up; a side that stays silent is a failure.
std::optional<platform::Frame> Receive(const UniqueFd& fd) {
  Bytes buffer;
  platform::Frame frame;
  for (;;) {
    if (platform::TakeFrame(buffer, frame) == platform::FrameStatus::kFrame) return frame;
    pollfd wait{fd.Get(), POLLIN, 0};
    if (poll(&wait, 1, kLongestMs) != 1) {
      ADD_FAILURE() << "no answer";
      return std::nullopt;
    }
    unsigned char byte;
    if (recv(fd.Get(), &byte, 1, 0) != 1) return std::nullopt;
    buffer.push_back(byte);
  }
}

// The number in the next frame, which is a result or a notification.
std::int32_t ReceiveNumber(const UniqueFd& fd) {
  const auto frame = Receive(fd);
  EXPECT_TRUE(frame);
  return frame ? platform::ReadLittleEndian<std::int32_t>(frame->arrPayload, 0) : -1;
}

TEST_F(Endpoint, ACommandCarriesItsBytesAndItsResult) {
  Bytes seen;
  m_script.command = [&](std::uint32_t message, std::uint64_t sender, auto bytes) {
    seen.assign(bytes.begin(), bytes.end());
    return message == 0x0466 && sender == 0xFEDCBA9876543210u ? -7 : 0;
  };
  Serve();
  EndpointClient client = Client();
  const Bytes largest(platform::kMaxPayload - 12, 0xA5);
  for (const Bytes& bytes : {Bytes{}, Bytes{1, 0, 2}, largest}) {
    EXPECT_EQ(client.SendCommand(0x0466, 0xFEDCBA9876543210u, bytes), -7);
    EXPECT_EQ(seen, bytes);
  }
  EXPECT_THROW(client.SendCommand(0x0466, 1, Bytes(platform::kMaxPayload - 11)), EndpointError);
  EXPECT_EQ(client.SendCommand(0x0466, 1, {}), 0);
}

TEST_F(Endpoint, AFrameMayComeByteByByte) {
  Serve();
  const UniqueFd fd = RawClient();
  EndpointClient other = Client();
  for (const unsigned char byte : CommandFrame(9, 1, {1, 2, 3})) {
    Send(fd, {byte});
    EXPECT_EQ(other.SendCommand(5, 1, {}), 5);  // half a frame holds nobody up
  }
  EXPECT_EQ(ReceiveNumber(fd), 9);
}

TEST_F(Endpoint, CommandsSentTogetherAreAnsweredOneByOne) {
  Serve();
  Bytes together;
  for (const unsigned char message : {3, 4, 5}) {
    const Bytes frame = CommandFrame(message, 1, Bytes(message));
    together.insert(together.end(), frame.begin(), frame.end());
  }
  const UniqueFd fd = RawClient(together);
  for (const int message : {3, 4, 5}) EXPECT_EQ(ReceiveNumber(fd), message);
}

TEST_F(Endpoint, AMalformedFrameClosesItsConnectionOnly) {
  Serve();
  EndpointClient healthy = Client();
  EXPECT_EQ(healthy.SendCommand(1, 1, {}), 1);
  const Bytes cases[] = {
      {0x01, 0x00, 0x10, 0x00, 1, 0, 0, 0},  // one byte over the bound
      {0xFF, 0xFF, 0xFF, 0xFF, 1, 0, 0, 0},
      {0, 0, 0, 0, 0, 0, 0, 0},  // no kind
      {0, 0, 0, 0, 6, 0, 0, 0},
      {0, 0, 0, 0, 2, 0, 0, 0x80},
      {11, 0, 0, 0, 1, 0, 0, 0},  // a command without its fixed part
      {7, 0, 0, 0, 3, 0, 0, 0},
      platform::BuildFrame(FrameKind::kResult, Bytes(4)),  // not a client's to send
      platform::BuildFrame(FrameKind::kNotify, Bytes(4)),
      AnswerFrame(1),  // nothing was asked
  };
  for (const Bytes& bytes : cases) {
    const UniqueFd fd = RawClient(bytes);
    EXPECT_FALSE(Receive(fd)) << testing::PrintToString(bytes);
    EXPECT_EQ(healthy.SendCommand(2, 1, {}), 2);
  }
}

TEST_F(Endpoint, ANotificationIsAnsweredInsideItsCommand) {
  m_script.command = [&](std::uint32_t, std::uint64_t sender, auto bytes) {
    const Bytes payload(bytes.begin(), bytes.end());
    const std::int64_t stranger = m_server->Notify(sender + 1, 1, payload);
    return static_cast<std::int32_t>(100 * stranger + m_server->Notify(sender, 2, payload) +
                                     m_server->Notify(sender, 3, {}));
  };
  Serve();
  const auto answer = [](std::uint32_t message, std::span<const unsigned char> bytes) {
    return std::int64_t{10} * message + static_cast<std::int64_t>(bytes.size());
  };
  EXPECT_EQ(Client().SendCommand(0, 77, Bytes(3), answer), 20 + 3 + 30);
  EXPECT_EQ(Client().SendCommand(0, 77, Bytes(3)), 0);  // nobody answers: 0
}

TEST_F(Endpoint, ACloseDuringANotificationWaitsForTheCommand) {
  std::vector<std::string> order;
  m_script.command = [&](std::uint32_t, std::uint64_t sender, auto) {
    const auto answer = static_cast<std::int32_t>(m_server->Notify(sender, 1, {}));
    order.push_back("command ends");
    return answer;
  };
  m_script.close = [&] {
    order.push_back("close");
    m_server->Stop();
  };
  Serve();
  const UniqueFd fd = RawClient(CommandFrame(1, 1));
  ASSERT_TRUE(Receive(fd));
  Send(fd, platform::BuildFrame(FrameKind::kClose, {}));
  Send(fd, AnswerFrame(33));
  EXPECT_EQ(ReceiveNumber(fd), 33);
  m_thread.join();
  EXPECT_EQ(order, (std::vector<std::string>{"command ends", "close"}));
}

TEST_F(Endpoint, AClientThatGoesAwayDoesNotEndItsCommandNorTheEngine) {
  const Point begun, gone, done;
  m_script.command = [&](std::uint32_t message, std::uint64_t sender, auto) {
    if (message != 1) return 5;
    begun.Reach();
    gone.Await();
    EXPECT_EQ(m_server->Notify(sender, 1, {}), 0);
    EXPECT_EQ(m_server->Notify(sender, 1, {}), 0);
    done.Reach();
    return 1;
  };
  Serve();
  UniqueFd fd = RawClient(CommandFrame(1, 1));
  begun.Await();
  fd.Reset();
  gone.Reach();
  done.Await();
  EXPECT_EQ(Client().SendCommand(2, 1, {}), 5);
}

TEST_F(Endpoint, CommandsAreServedInTheOrderTheyCame) {
  const Point begun, go;
  std::vector<std::uint32_t> order;
  m_script.command = [&](std::uint32_t message, std::uint64_t, auto) {
    order.push_back(message);
    if (message == 100) {
      begun.Reach();
      go.Await();
    }
    return 0;
  };
  Serve();
  std::array<UniqueFd, 4> clients;
  for (UniqueFd& client : clients) {
    client = RawClient(CommandFrame(1, 1));
    ASSERT_TRUE(Receive(client));
  }
  order.clear();
  Send(clients[0], CommandFrame(100, 1));
  begun.Await();
  Send(clients[3], CommandFrame(103, 1));
  Send(clients[1], CommandFrame(101, 1));
  Send(clients[0], CommandFrame(200, 1));
  Send(clients[2], CommandFrame(102, 1));
  go.Reach();
  for (const UniqueFd& client : clients) ASSERT_TRUE(Receive(client));
  ASSERT_TRUE(Receive(clients[0]));
  Finish();
  ASSERT_EQ(order.size(), 5u);
  EXPECT_EQ(order[0], 100u);
  order.erase(std::find(order.begin(), order.end(), 200u));  // behind its own first one is enough
  EXPECT_EQ(order, (std::vector<std::uint32_t>{100, 103, 101, 102}));
}

TEST_F(Endpoint, AResultStillLeavesAfterAStop) {
  m_script.command = [&](std::uint32_t, std::uint64_t, auto) {
    m_server->Stop();
    return 42;
  };
  Serve();
  EndpointClient client = Client();
  EXPECT_EQ(client.SendCommand(1, 1, {}), 42);
  m_thread.join();
  EXPECT_THROW(EndpointServer{m_title}, std::system_error);  // the name is held until the end
  m_server.reset();
  client.WaitForEnd();
  EndpointServer again(m_title);
}

TEST_F(Endpoint, ATitleIsServedOnce) {
  EXPECT_FALSE(EndpointClient::IsServed(m_title));
  EXPECT_THROW(EndpointClient(m_title, 0ms), EndpointError);
  Serve();
  EXPECT_TRUE(EndpointClient::IsServed(m_title));
  EXPECT_FALSE(EndpointClient::IsServed(m_title + "x"));
  try {
    EndpointServer second(m_title);
    ADD_FAILURE();
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::address_in_use);
  }
}

TEST_F(Endpoint, MoreClientsThanItHoldsWaitForTheirTurn) {
  Serve();
  std::vector<UniqueFd> idle;
  for (int i = 0; i < 63; ++i) idle.push_back(RawClient());
  idle.push_back(RawClient(CommandFrame(1, 1)));
  ASSERT_TRUE(Receive(idle.back()));
  const UniqueFd waiting = RawClient(CommandFrame(2, 1));
  idle.pop_back();
  EXPECT_TRUE(Receive(waiting));
}

TEST_F(Endpoint, AnotherUsersConnectionIsHungUp) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  Serve();
  EXPECT_EQ(Client().SendCommand(7, 1, {}), 7);
  const UniqueFd own = RawClient();
  const auto address = platform::EndpointAddressOf(m_title);  // ours, not that user's
  EXPECT_TRUE(AsOrdinaryUser([&] {
    const UniqueFd fd = SocketAt(address, connect);
    if (!fd) return false;
    (void)platform::SendAll(fd.Get(), CommandFrame(7, 1), kLongestMs);
    return !Receive(fd);
  }));
}

TEST_F(Endpoint, AClientTalksToNoOtherUsersEngine) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  const auto address = platform::EndpointAddressOf(m_title);  // ours, not that user's
  const Point bound, done;
  std::thread client([&] {
    bound.Await();
    EXPECT_FALSE(EndpointClient::IsServed(m_title));
    EXPECT_THROW(EndpointClient(m_title, kLongest), EndpointError);
    done.Reach();
  });
  EXPECT_TRUE(AsOrdinaryUser([&] {
    const UniqueFd fd = SocketAt(address, bind);
    const bool listening = listen(fd.Get(), 5) == 0;
    bound.Reach();
    done.Await();
    return listening;
  }));
  client.join();
}

// A server as a process that tells when its command has begun and waits to be let go.
class EndpointSignals : public Endpoint {
 protected:
  EndpointSignals() {
    m_child = fork();
    if (m_child == 0) {
      int closes = 0;
      m_script.command = [&](std::uint32_t, std::uint64_t, auto) {
        m_begun.Reach();
        m_go.Await();
        return closes == 0 ? 11 : 0;
      };
      m_script.close = [&] {
        ++closes;
        m_server->Stop();
      };
      m_server = std::make_unique<EndpointServer>(m_title);
      m_server->Run(m_script);
      m_server.reset();
      _exit(closes);
    }
  }
  // The result of a command that has begun when a first signal is sent.
  std::future<std::int32_t> SignalACommand() {
    auto result = std::async(std::launch::async, [this] {
      return EndpointClient(m_title, kLongest).SendCommand(1, 1, {});
    });
    m_begun.Await();
    kill(m_child, SIGTERM);
    return result;
  }
  int Status() {
    int status = 0;
    waitpid(m_child, &status, 0);
    return status;
  }

  Point m_begun;
  Point m_go;
  pid_t m_child = -1;
};

TEST_F(EndpointSignals, TheFirstOneActsAfterTheCommandInWork) {
  auto result = SignalACommand();
  m_go.Reach();
  EXPECT_EQ(result.get(), 11);
  const int status = Status();
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 1);
}

TEST_F(EndpointSignals, ASecondOneEndsInTheMiddleOfACommand) {
  auto result = SignalACommand();
  kill(m_child, SIGHUP);
  EXPECT_TRUE(WIFSIGNALED(Status()));
  EXPECT_THROW(result.get(), EndpointError);
}

TEST_F(EndpointSignals, AnIdleEngineEndsOnAnInterrupt) {
  EndpointClient client(m_title, kLongest);
  kill(m_child, SIGINT);
  client.WaitForEnd();
  EXPECT_EQ(WEXITSTATUS(Status()), 1);
}

}  // namespace
