#include "client/run/Outcome.h"

#include "ews/ServiceException.h"

namespace client {

bool EndsRun(std::string_view text) {
  return ews::SaysWaitedFor(text) || ews::SaysLogonRefused(text);
}

bool LeavesOutcomeOpen(std::string_view text) { return ews::SaysOpenOutcome(text); }

}  // namespace client
