#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/UniqueFd.h"
#include "tests/support/ReservedPort.h"

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

// When the server gets what is forwarded late, by a seed. However slow the machine, a question for
// items that comes behind that time finds it.
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

  int Port() const { return m_port.Port(); }
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
  // A late request, from before its 504 is out until the server has answered it.
  using Clock = std::chrono::steady_clock;
  using Due = std::multiset<Clock::time_point>::iterator;
  Due HoldBack(const Step& step);
  void ForwardLate(const std::string& request, Due due);
  // Lets a question for items wait for the late requests whose time has come.
  void AwaitLate(std::string_view request);

  const int m_serverPort;
  mutable std::mutex m_mutex;  // of the members below
  Choose m_choose;
  std::map<Mishap, int> m_mishaps;
  std::vector<int> m_open;                  // both ends of each connection that is served
  std::multiset<Clock::time_point> m_late;  // when late requests come that are not answered yet
  std::condition_variable m_arrived;        // one of these was
  std::vector<std::thread> m_threads;
  const ReservedPort m_port;  // while it refuses, too
  platform::UniqueFd m_listener;
  std::atomic<bool> m_refusing = false;
  std::atomic<bool> m_ended = false;
  std::thread m_accept;
};

// For a proxy that harms nothing: calls that with each request to save an item, by its number from
// 1, before the server has it. Whoever sent it waits meanwhile.
FaultProxy::Choose AtEachSave(std::function<void(int number)> act);

}  // namespace test_support
