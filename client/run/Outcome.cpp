#include "client/run/Outcome.h"

#include "ews/ServiceException.h"

namespace client {

bool EndsRun(std::string_view text) {
  return text.find(ews::kWaitedFor) != std::string_view::npos ||
         text.find(ews::kLogonRefused) != std::string_view::npos;
}

bool LeavesOutcomeOpen(std::string_view text) {
  return text.find(ews::kMayBeCarriedOut) != std::string_view::npos;
}

}  // namespace client
