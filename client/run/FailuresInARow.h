#pragma once

#include <string>

#include "client/run/Outcome.h"
#include "client/run/Target.h"

namespace client {

// Items that fail one after the other for the same reason, which is the target's and not theirs:
// the next ones would fare no better.
class FailuresInARow {
 public:
  explicit FailuresInARow(const Target& target) : m_target(target) {}  // which must outlive this

  // Takes what became of the next item. Returns a reason to stop the run now, or empty.
  std::string Add(const Outcome& outcome);

 private:
  const Target& m_target;
  std::string m_last;  // without its digits
  int m_count = 0;
};

}  // namespace client
