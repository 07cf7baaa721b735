#include "tests/support/FaultProxy.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <optional>
#include <random>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "base/AsciiText.h"

namespace test_support {
namespace {

constexpr auto kDelay = std::chrono::milliseconds(150);
constexpr auto kLongDelay = std::chrono::milliseconds(3000);  // of one delay in kLongOneIn
constexpr unsigned kLongOneIn = 8;
constexpr auto kSlowSave = std::chrono::milliseconds(8000);
constexpr auto kRefusal = std::chrono::milliseconds(1500);
constexpr std::array kStatuses = {401, 429, 500, 502, 503, 504};
constexpr std::array kStatusesForAnswer = {500, 502, 503};

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

bool SendAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

size_t ContentLength(std::string_view head) {
  constexpr std::string_view kName = "\r\nContent-Length:";
  size_t at = mail::findNoCase(head, kName);
  if (at == std::string_view::npos) return 0;
  at = head.find_first_not_of(' ', at + kName.size());
  if (at == std::string_view::npos) return 0;
  size_t length = 0;
  std::from_chars(head.data() + at, head.data() + head.size(), length);
  return length;
}

// The next message of that connection: its head, and as many bytes as that announces. Nothing when
// the connection ends before. `rest` keeps what was read beyond it.
std::optional<std::string> ReadMessage(int fd, std::string& rest) {
  size_t whole = std::string::npos;
  for (;;) {
    const size_t end = rest.find("\r\n\r\n");
    if (whole == std::string::npos && end != std::string::npos) {
      const std::string_view head(rest.data(), end + 2);
      whole = end + 4 + ContentLength(head);
      if (mail::findNoCase(head, "100-continue") != std::string_view::npos) {
        SendAll(fd, "HTTP/1.1 100 Continue\r\n\r\n");
      }
    }
    if (rest.size() >= whole) break;
    std::array<char, 16384> buffer;
    const ssize_t count = recv(fd, buffer.data(), buffer.size(), 0);
    if (count <= 0) return std::nullopt;
    rest.append(buffer.data(), static_cast<size_t>(count));
  }
  std::string message = rest.substr(0, whole);
  rest.erase(0, whole);
  return message;
}

std::string StatusAnswer(int status, bool retryAfter, const std::string& body = {}) {
  std::string answer = "HTTP/1.1 " + std::to_string(status) +
                       " Harmed\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
  if (status == 401) answer += "WWW-Authenticate: Basic realm=\"proxy\"\r\n";
  if (retryAfter) answer += "Retry-After: 1\r\n";
  return answer + "\r\n" + body;
}

// Chooses at random, and the same for a seed each time.
class BySeed {
 public:
  BySeed(unsigned seed, unsigned oneIn)
      : m_random(seed), m_oneIn(oneIn), m_lateness(LatenessOf(seed)) {}

  FaultProxy::Step operator()(std::string_view request) {
    // So many numbers for each request, so that no mishap shifts those behind it.
    const bool harmed = m_random() % m_oneIn == 0;
    const auto kind = m_random() % kHarm.size();
    const auto detail = m_random();
    FaultProxy::Step step;
    if (harmed && !m_spareNext) step.mishap = kHarm[kind];
    if (step.mishap == Mishap::kStatus) step.status = kStatuses[detail % kStatuses.size()];
    if (step.mishap == Mishap::kStatusForAnswer) {
      step.status = kStatusesForAnswer[detail % kStatusesForAnswer.size()];
    }
    step.retryAfter = step.status == 429 || (step.status == 503 && detail / 8 % 2 == 0);
    if (step.mishap == Mishap::kDelay) step.pause = detail % kLongOneIn ? kDelay : kLongDelay;
    if (step.mishap == Mishap::kForwardedLate) {
      step.pause = std::chrono::milliseconds(Late(detail));
    }
    if (m_lateness == Lateness::kAnnounced && !m_announced) step = {};  // or it would tell nothing
    if (IsToBeSlow(request)) step = {Mishap::kDelay, 0, false, kSlowSave};
    m_spareNext = step.status == 401 || step.mishap == Mishap::kRefuse;
    return step;
  }

 private:
  std::mt19937::result_type Late(std::mt19937::result_type detail) const {
    switch (m_lateness) {
      case Lateness::kAnnounced:
        return 1000 + detail % 6000;
      case Lateness::kLong:
        return 5000 + detail % 4000;
      default:
        return 1000 + detail % 3000;
    }
  }
  // Once.
  bool IsToBeSlow(std::string_view request) {
    if (m_lateness != Lateness::kAnnounced || m_announced) return false;
    return m_announced = request.find("CreateItem ") != std::string_view::npos;
  }

  std::mt19937 m_random;
  unsigned m_oneIn;
  Lateness m_lateness;
  bool m_announced = false;
  bool m_spareNext = false;
};

}  // namespace

Lateness LatenessOf(unsigned seed) {
  if (seed >= kFirstOfLong) return Lateness::kLong;
  return seed % 5 == 0 ? Lateness::kAnnounced : Lateness::kShort;
}

FaultProxy::FaultProxy(int serverPort, unsigned seed, unsigned oneIn)
    : FaultProxy(serverPort, BySeed(seed, oneIn)) {}

FaultProxy::FaultProxy(int serverPort, Choose choose)
    : m_serverPort(serverPort), m_choose(std::move(choose)) {
  Listen();
  m_accept = std::thread([this] { Accept(); });
}

FaultProxy::~FaultProxy() {
  m_ended = true;
  m_accept.join();
  {
    const std::lock_guard lock(m_mutex);
    for (const int fd : m_open) shutdown(fd, SHUT_RDWR);
  }
  for (std::thread& thread : m_threads) thread.join();
}

std::map<Mishap, int> FaultProxy::Mishaps() const {
  const std::lock_guard lock(m_mutex);
  return m_mishaps;
}

FaultProxy::Step FaultProxy::StepFor(std::string_view request) {
  const std::lock_guard lock(m_mutex);
  Step step = m_choose(request);
  ++m_mishaps[step.mishap];
  return step;
}

void FaultProxy::Listen() {
  m_listener.Reset(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int on = 1;
  setsockopt(m_listener.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in address = Loopback(m_port.Port());
  if (bind(m_listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(m_listener.Get(), 64) != 0) {
    throw std::runtime_error("no port for a test's proxy");
  }
}

// A closed listener is what refuses connections, so this thread alone opens and closes it.
void FaultProxy::Accept() {
  while (!m_ended) {
    if (m_refusing.exchange(false)) {
      m_listener.Reset();
      std::this_thread::sleep_for(kRefusal);
      Listen();
    }
    pollfd ready{m_listener.Get(), POLLIN, 0};
    if (poll(&ready, 1, 20) <= 0) continue;
    const int client = accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;
    const std::lock_guard lock(m_mutex);
    m_threads.emplace_back([this, client] { Serve(client); });
  }
}

void FaultProxy::Serve(int client) {
  const platform::UniqueFd clientEnd(client);
  const platform::UniqueFd serverEnd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int server = serverEnd.Get();
  {
    const std::lock_guard lock(m_mutex);
    m_open.insert(m_open.end(), {client, server});
  }
  const sockaddr_in address = Loopback(m_serverPort);
  std::string fromClient;
  if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    while (!m_ended) {
      const auto request = ReadMessage(client, fromClient);
      if (!request) break;
      AwaitLate(*request);
      if (!Pass(client, server, *request, StepFor(*request))) break;
    }
  }
  const std::lock_guard lock(m_mutex);
  std::erase_if(m_open, [&](int fd) { return fd == client || fd == server; });
  shutdown(client, SHUT_RDWR);
}

bool FaultProxy::Pass(int client, int server, const std::string& request, const Step& step) {
  switch (step.mishap) {
    case Mishap::kCutBeforeRequest:
      return false;
    case Mishap::kCutInRequest:
      SendAll(server, std::string_view(request).substr(0, request.size() / 2));
      return false;
    case Mishap::kStatus:
      return SendAll(client, StatusAnswer(step.status, step.retryAfter, step.body));
    case Mishap::kForwardedLate: {
      const Due due = HoldBack(step);
      SendAll(client, StatusAnswer(504, /*retryAfter=*/false));
      shutdown(client, SHUT_RDWR);
      ForwardLate(request, due);
      return false;
    }
    default:
      break;
  }
  std::this_thread::sleep_for(step.pause);
  return SendAll(server, request) && PassAnswer(client, server, step);
}

bool FaultProxy::PassAnswer(int client, int server, const Step& step) {
  std::string rest;
  const auto answer = ReadMessage(server, rest);
  if (!answer) return false;
  switch (step.mishap) {
    case Mishap::kRefuse:
      m_refusing = true;
      return false;
    case Mishap::kCutBehindRequest:
      return false;
    case Mishap::kCutInAnswer:
      SendAll(client, std::string_view(*answer).substr(0, answer->size() / 2));
      return false;
    case Mishap::kStatusForAnswer:
      return SendAll(client, StatusAnswer(step.status, step.retryAfter, step.body));
    default:
      return SendAll(client, *answer) && step.mishap != Mishap::kCutBehindAnswer;
  }
}

FaultProxy::Due FaultProxy::HoldBack(const Step& step) {
  const std::lock_guard lock(m_mutex);
  return m_late.insert(Clock::now() + step.pause);
}

void FaultProxy::AwaitLate(std::string_view request) {
  if (request.find("FindItem ") == std::string_view::npos) return;
  const Clock::time_point now = Clock::now();
  std::unique_lock lock(m_mutex);
  m_arrived.wait(lock, [&] { return m_late.empty() || *m_late.begin() > now; });
}

// On a connection of its own, which the end of the proxy does not cut: a run that is over too soon
// is to meet what it left behind.
void FaultProxy::ForwardLate(const std::string& request, Due due) {
  std::this_thread::sleep_until(*due);
  const platform::UniqueFd server(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_in address = Loopback(m_serverPort);
  std::string rest;
  if (connect(server.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      SendAll(server.Get(), request)) {
    (void)ReadMessage(server.Get(), rest);
  }
  const std::lock_guard lock(m_mutex);
  m_late.erase(due);
  m_arrived.notify_all();
}

FaultProxy::Choose AtEachSave(std::function<void(int number)> act) {
  return [act = std::move(act), number = 0](std::string_view request) mutable {
    if (request.find("CreateItem ") != std::string_view::npos) act(++number);
    return FaultProxy::Step{};
  };
}

}  // namespace test_support
