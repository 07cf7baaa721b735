#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace mailbox {

// Failures on demand, for tests and rehearsals. An order is one of
//   busy:N          the next N requests are told to come back later (add :MS for how much later)
//   latency:MS      every request waits first
//   drop:N          the connections of the next N requests are cut without an answer
//   ErrorCode:N     the next N items saved are refused with that response code
// All calls may come from any thread.
class Faults {
 public:
  // False for a text that is no order.
  [[nodiscard]] bool Add(std::string_view order);

  // Each takes one failure off its count.
  bool TakeDrop();
  bool TakeBusy(int* backOff);  // milliseconds
  std::string TakeItemError();  // the response code, "" for none
  int Latency() const;          // milliseconds

 private:
  mutable std::mutex m_mutex;
  int m_drops = 0;
  int m_busy = 0;
  int m_backOff = 1000;
  int m_latency = 0;
  std::map<std::string, int> m_codes;
};

}  // namespace mailbox
