#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/UniqueFd.h"

namespace test_support {

// What befalls one request on its way and its answer on the way back.
enum class Mishap {
  kNone,
  kCutBeforeRequest,  // nothing of it reaches the server
  kCutInRequest,      // half of it does
  kCutBehindRequest,  // all of it, and the answer is lost
  kCutInAnswer,       // half of the answer comes back
  kCutBehindAnswer,   // all of it; the kept connection ends
  kDelay,
  kStatus,           // the proxy answers for the server: by a seed 401, 429, 500, 502, 503 or 504
  kStatusForAnswer,  // the server has it all, and for its answer comes a 500, 502 or 503
  kForwardedLate,    // a 504 comes, and the server gets the request seconds later
  kRefuse,           // the answer is lost, and no connection is taken for a time
};

// When the server gets what is forwarded late, by a seed.
enum class Lateness {
  kShort,      // 1 to 4 s behind the 504
  kAnnounced,  // up to 7 s, and the first save of all is as slow as that, and answered
  kLong,       // 5 to 9 s, and nothing tells of it
};
inline constexpr unsigned kFirstOfLong = 1001;
Lateness LatenessOf(unsigned seed);

inline constexpr std::array kHarm = {
    Mishap::kCutBeforeRequest, Mishap::kCutInRequest,    Mishap::kCutBehindRequest,
    Mishap::kCutInAnswer,      Mishap::kCutBehindAnswer, Mishap::kDelay,
    Mishap::kStatus,           Mishap::kStatusForAnswer, Mishap::kForwardedLate,
    Mishap::kRefuse,
};

// Stands in front of a server that speaks plain HTTP on 127.0.0.1 and harms requests by a seed: the
// n-th request always meets the same mishap. A 401 and a refusal are followed by a request that
// passes, for a server that turns everybody away is another matter than a network with faults. It
// ends with the object, and with what it still holds back.
class FaultProxy {
 public:
  struct Step {
    Mishap mishap = Mishap::kNone;
    int status = 0;
    bool retryAfter = false;
    std::chrono::milliseconds pause{0};  // of a delay or a late request
    std::string body = {};               // of the proxy's answer
  };
  // What befalls a request of that head and body.
  using Choose = std::function<Step(std::string_view request)>;

  // One of `oneIn` requests is harmed.
  FaultProxy(int serverPort, unsigned seed, unsigned oneIn);
  // In place of a seed; is called by one thread at a time.
  FaultProxy(int serverPort, Choose choose);
  ~FaultProxy();
  FaultProxy(const FaultProxy&) = delete;
  FaultProxy& operator=(const FaultProxy&) = delete;

  int Port() const { return m_port; }
  // How often each has happened.
  std::map<Mishap, int> Mishaps() const;

 private:
  Step StepFor(std::string_view request);
  void Listen();
  void Accept();
  void Serve(int client);
  // False when the client's connection is to end.
  bool Pass(int client, int server, const std::string& request, const Step& step);
  // The same behind the request: what becomes of the server's answer.
  bool PassAnswer(int client, int server, const Step& step);
  void ForwardLate(const std::string& request, std::chrono::milliseconds pause);

  const int m_serverPort;
  mutable std::mutex m_mutex;  // of the members below
  Choose m_choose;
  std::map<Mishap, int> m_mishaps;
  std::vector<int> m_open;  // both ends of each connection that is served
  std::vector<std::thread> m_threads;
  platform::UniqueFd m_listener;
  int m_port = 0;
  std::atomic<bool> m_refusing = false;
  std::atomic<bool> m_ended = false;
  std::thread m_accept;
};

}  // namespace test_support
