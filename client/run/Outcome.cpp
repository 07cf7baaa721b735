#include "client/run/Outcome.h"

#include <algorithm>
#include <array>

#include "ews/ServiceException.h"

namespace client {
namespace {

// What servers say where they cannot tell what became of an item. With --as-is nothing stands
// behind it, and no code beside it. Only in English, in which servers speak unless told otherwise.
constexpr auto kOpenWords = std::to_array<std::string_view>({
    "An internal server error occurred. The operation failed.",
    "An internal server error occurred. Try again later.",
    "The mailbox database is temporarily unavailable.",
    "The operation timed out.",
});

}  // namespace

bool EndsRun(std::string_view text) {
  return ews::SaysGivenUp(text) || ews::SaysLogonRefused(text);
}

bool LeavesOutcomeOpen(std::string_view text) {
  return ews::SaysOpenOutcome(text) || std::ranges::find(kOpenWords, text) != kOpenWords.end();
}

std::string Joined(const std::string& text, const std::string& more) {
  return text.empty() || more.empty() ? text + more : ews::WithoutStop(text) + "; " + more;
}

}  // namespace client
