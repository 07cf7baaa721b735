#pragma once

#include <string>

#include "client/run/Outcome.h"
#include "client/run/Target.h"

namespace client {

// Items that fail one after the other for the same reason, which is the target's and not theirs:
// the next ones would fare no better. A smaller one may fit into a mailbox that is full for others,
// so that each one that is sent starts the count of these again, and nothing else does.
class FailuresInARow {
 public:
  explicit FailuresInARow(const Target& target) : m_target(target) {}  // which must outlive this

  // Takes what became of the next item. Returns a reason to stop the run now, or empty.
  std::string Add(const Outcome& outcome);

 private:
  std::string AddFull(const Outcome& outcome);

  const Target& m_target;
  std::string m_last;  // without its digits
  int m_count = 0;
  int m_full = 0;  // for want of room, since the last one that was sent
};

}  // namespace client
