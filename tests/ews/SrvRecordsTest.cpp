#include "ews/SrvRecords.h"

#include <arpa/inet.h>
#include <arpa/nameser.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <atomic>
#include <thread>

#include <gmock/gmock.h>

#include "ews/ServiceException.h"
#include "platform/UniqueFd.h"
#include "tests/ews/ScriptedTransport.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

std::string Wide(int value) { return {static_cast<char>(value >> 8), static_cast<char>(value)}; }

// "mail.example" as labels with their lengths; "" is the root.
std::string Labels(const std::string& name) {
  std::string bytes;
  for (size_t from = 0; from < name.size();) {
    const size_t end = std::min(name.find('.', from), name.size());
    bytes += static_cast<char>(end - from) + name.substr(from, end - from);
    from = end + 1;
  }
  return bytes + '\0';
}

// A record of the name that was asked for. The answer's header has 12 bytes, the question follows.
std::string Record(int type, const std::string& data) {
  return "\xC0\x0C" + Wide(type) + Wide(ns_c_in) + Wide(0) + Wide(60) +
         Wide(static_cast<int>(data.size())) + data;
}

std::string Service(int priority, int weight, int port, const std::string& host) {
  return Record(ns_t_srv, Wide(priority) + Wide(weight) + Wide(port) + Labels(host));
}

std::string Answer(const std::string& question, const std::vector<std::string>& records,
                   int flags = 0x8180) {
  std::string bytes =
      Wide(flags) + Wide(1) + Wide(static_cast<int>(records.size())) + Wide(0) + Wide(0) + question;
  for (const std::string& record : records) bytes += record;
  return bytes;  // behind the id
}

// A name server on loopback that gives one answer to every question: those records, with those
// flags, or none at all.
class NameServer {
 public:
  explicit NameServer(std::vector<std::string> records, int flags = 0x8180, bool silent = false)
      : m_records(std::move(records)), m_flags(flags), m_silent(silent) {
    m_address.sin_family = AF_INET;
    m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval wait{0, 20000};
    setsockopt(m_socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof(wait));
    socklen_t length = sizeof(m_address);
    if (bind(m_socket.Get(), Raw(m_address), length) != 0) throw std::runtime_error("no port");
    getsockname(m_socket.Get(), Raw(m_address), &length);
    m_thread = std::thread([this] { Serve(); });
  }
  ~NameServer() {
    m_ends = true;
    m_thread.join();
  }
  const sockaddr_in* Address() const { return &m_address; }
  int Asked() const { return m_asked; }

 private:
  static sockaddr* Raw(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }
  void Serve() {
    while (!m_ends) {
      std::string query(512, '\0');
      sockaddr_in from{};
      socklen_t length = sizeof(from);
      const ssize_t n = recvfrom(m_socket.Get(), query.data(), query.size(), 0, Raw(from), &length);
      if (n < 12) continue;
      ++m_asked;
      if (m_silent) continue;
      const std::string question = query.substr(12, query.find('\0', 12) + 5 - 12);
      const std::string answer = query.substr(0, 2) + Answer(question, m_records, m_flags);
      sendto(m_socket.Get(), answer.data(), answer.size(), 0, Raw(from), length);
    }
  }

  std::vector<std::string> m_records;
  int m_flags;
  bool m_silent;
  platform::UniqueFd m_socket{socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
  sockaddr_in m_address{};
  std::atomic<bool> m_ends = false;
  std::atomic<int> m_asked = 0;
  std::thread m_thread;
};

std::string Dump(const std::vector<ews::SrvRecord>& records) {
  std::string text;
  for (const auto& record : records) {
    text += record.strHost + ":" + std::to_string(record.nPort) + " ";
  }
  return text;
}

std::string Ask(const NameServer& server, std::chrono::milliseconds limit = 10s) {
  std::string found;
  const std::string failure = TextOf([&] {
    found = Dump(ews::QuerySrv("_autodiscover._tcp.example.com", limit, server.Address()));
  });
  return found.empty() ? failure : found;
}

TEST(SrvRecords, TheFirstPriorityAndThenTheHighestWeightComeFirst) {
  const NameServer server(
      {Service(20, 0, 443, "third.example.net"), Record(ns_t_cname, Labels("elsewhere.example")),
       Service(10, 1, 8443, "second.example.net"), Service(0, 0, 1, ""),  // there is none
       Service(10, 5, 443, "first.example.net")});
  EXPECT_EQ(Ask(server), "first.example.net:443 second.example.net:8443 third.example.net:443 ");
}

TEST(SrvRecords, WhatIsNotThereIsToldAtOnceAndSilenceInTime) {
  for (const int flags : {0x8183, 0x8180}) {  // no such name; no such record
    const NameServer server({}, flags);
    EXPECT_THAT(Ask(server), HasSubstr("knows no server by _autodiscover._tcp.example.com"));
    EXPECT_EQ(server.Asked(), 1);
  }
  const NameServer silent({}, 0, /*silent=*/true);
  const auto timeOf = [&](std::chrono::milliseconds limit) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(Ask(silent, limit), HasSubstr("No name server answered"));
    return std::chrono::steady_clock::now() - start;
  };
  EXPECT_LT(timeOf(2s), 4s);
  EXPECT_EQ(silent.Asked(), 2);
}

TEST(SrvRecords, AnAnswerThatIsCutOffGivesItsWholeRecords) {
  const std::string question = Labels("_a._tcp.b") + Wide(ns_t_srv) + Wide(ns_c_in);
  const std::string whole =
      "id" + Answer(question, {Service(1, 0, 1, "one.example"), Service(2, 0, 2, "two.example")});
  const auto read = [](const std::string& bytes) {
    const std::vector<unsigned char> copy(bytes.begin(), bytes.end());  // its bounds are watched
    return ews::ReadSrvAnswer(copy);
  };
  EXPECT_EQ(Dump(read(whole)), "one.example:1 two.example:2 ");
  for (size_t length = 0; length < whole.size(); ++length) {
    EXPECT_LE(read(whole.substr(0, length)).size(), 1u) << length;
  }
  // A host that points at itself, and one behind the end.
  const std::string head = Wide(0) + Wide(0) + Wide(1);
  const std::string loop = "id" + Answer(question, {Record(ns_t_srv, head + "\xC0\x0C")});
  EXPECT_EQ(read(loop).size(), 1u);  // the question's own name
  std::string self = "id" + Answer(question, {});
  self = "id" +
         Answer(question, {Record(ns_t_srv, head + "\xC0" + static_cast<char>(self.size() + 18))});
  EXPECT_TRUE(read(self).empty());
  EXPECT_TRUE(read("id" + Answer(question, {Record(ns_t_srv, head + "\xFF\xFF")})).empty());
}

}  // namespace
