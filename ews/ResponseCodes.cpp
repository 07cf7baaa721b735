#include "ews/ResponseCodes.h"

#include <algorithm>
#include <array>
#include <string>

namespace ews {
namespace {

struct CodeRow {
  std::string_view strCode;
  bool bOutage;
  bool bMayBeCarriedOut;
};

// An internal error is what a server says of items that it cannot take, too: that is no outage, but
// leaves open what became of the item, and a question is asked again. The last two are codes of
// faults, by what stands in front of the service.
constexpr auto kCodes = std::to_array<CodeRow>({
    {"ErrorADUnavailable", true, false},
    {"ErrorConnectionFailed", true, true},
    {"ErrorExceededConnectionCount", true, false},
    {"ErrorInsufficientResources", true, true},
    {"ErrorInternalServerError", false, true},
    {"ErrorInternalServerTransientError", true, true},
    {"ErrorMailboxFailover", true, true},
    {"ErrorMailboxMoveInProgress", true, true},
    {"ErrorMailboxStoreUnavailable", true, true},
    {"ErrorProxyCallFailed", true, true},
    {"ErrorProxyRequestProcessingFailed", true, true},
    {"ErrorRequestAborted", true, true},
    {"ErrorServerBusy", true, false},
    {"ErrorServiceUnavailable", true, true},
    {"ErrorTimeoutExpired", true, true},
    {"InternalServiceFault", false, true},
    {"Server", false, true},
});

constexpr std::array<std::string_view, 3> kServiceNames{"ews", "exchange web services",
                                                        "exchangewebservices"};
constexpr std::array<std::string_view, 6> kOffWords{
    "disabled", "not allowed", "not enabled", "not currently allowed", "blocked", "switched off"};

bool IsLetter(char ch) { return ch >= 'a' && ch <= 'z'; }

// A name counts as a word of its own only: "news" is no service.
bool HoldsWord(std::string_view strText, std::string_view strWord) {
  for (size_t n = strText.find(strWord); n != std::string_view::npos;
       n = strText.find(strWord, n + 1)) {
    const size_t nEnd = n + strWord.size();
    if ((n == 0 || !IsLetter(strText[n - 1])) &&
        (nEnd == strText.size() || !IsLetter(strText[nEnd]))) {
      return true;
    }
  }
  return false;
}

}  // namespace

Failure FailureOfCode(std::string_view strCode) {
  for (const CodeRow& objRow : kCodes) {
    if (objRow.strCode == strCode) {
      Failure objFailure;
      objFailure.bOutage = objRow.bOutage;
      objFailure.bMayBeCarriedOut = objRow.bMayBeCarriedOut;
      objFailure.bMayPass = !objRow.bOutage;
      return objFailure;
    }
  }
  return {};
}

bool SaysServiceIsOff(std::string_view strText) {
  constexpr size_t kMostBytes = 16384;  // of an answer's page; the words stand near its beginning
  std::string strLower(strText.substr(0, kMostBytes));
  std::transform(strLower.begin(), strLower.end(), strLower.begin(),
                 [](char ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch + 32) : ch; });
  const auto Holds = [&](std::string_view strWord) { return HoldsWord(strLower, strWord); };
  return std::any_of(kServiceNames.begin(), kServiceNames.end(), Holds) &&
         std::any_of(kOffWords.begin(), kOffWords.end(), Holds);
}

}  // namespace ews
