#include "ews/HttpFailure.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include <curl/curl.h>
#include <fmt/format.h>

#include "ews/SoapReader.h"
#include "ews/Url.h"

namespace ews {
namespace {

using std::chrono::milliseconds;

struct StatusRow {
  int nStatus;
  std::string_view strText;  // may be empty
  bool bOutage = false;
  bool bNamesSize = false;  // a proxy's refusal of what is large
  bool bForeign = false;    // no mailbox service says so
};

constexpr auto kStatuses = std::to_array<StatusRow>({
    {400, "Bad Request"},
    {401, "Unauthorized: the user name, the password or the token was refused"},
    {403, "Forbidden: this user may not do that"},
    {404, "Not Found: there is no mailbox service at this address", false, false, true},
    {405, "Method Not Allowed", false, true, true},
    {407, "Proxy Authentication Required"},
    {408, "Request Timeout", true},
    {411, "Length Required", false, true},
    {413, "Content Too Large", false, true},
    {429, "Too Many Requests: the server is throttling", true},
    {500, "Internal Server Error", true},
    {502, "Bad Gateway", true},
    {503, "Service Unavailable", true},
    {504, "Gateway Timeout", true},
});

StatusRow RowOf(int nStatus) {
  const auto it = std::find_if(kStatuses.begin(), kStatuses.end(),
                               [&](const StatusRow& objRow) { return objRow.nStatus == nStatus; });
  return it == kStatuses.end() ? StatusRow{nStatus, {}} : *it;
}

// A number of seconds or a date. No time at all is taken as a second, so that a retry never spins.
std::optional<milliseconds> RetryAfter(const HttpResponse& objResponse) {
  const std::string strValue = objResponse.Header("Retry-After");
  if (strValue.empty()) return std::nullopt;
  long long nSeconds = 0;
  const char* pEnd = strValue.data() + strValue.size();
  if (std::from_chars(strValue.data(), pEnd, nSeconds).ptr != pEnd) {
    const auto nWhen = curl_getdate(strValue.c_str(), nullptr);
    if (nWhen < 0) return std::nullopt;
    nSeconds =
        static_cast<long long>(nWhen) - std::chrono::duration_cast<std::chrono::seconds>(
                                            std::chrono::system_clock::now().time_since_epoch())
                                            .count();
  }
  const long long nMost = kMaxBackOff.count() / 1000;
  return milliseconds(std::clamp(nSeconds, 1LL, nMost) * 1000);
}

}  // namespace

std::string HttpFailureText(const std::string& strUrl, const HttpResponse& objResponse,
                            std::uint64_t nBodyBytes) {
  const StatusRow objRow = RowOf(objResponse.nStatus);
  std::string strText = fmt::format("The request failed. The server {} answered HTTP {}",
                                    HostForMessage(strUrl), objResponse.nStatus);
  if (!objRow.strText.empty()) strText += fmt::format(" ({})", objRow.strText);
  if (objRow.bNamesSize && nBodyBytes > 0) {
    strText += fmt::format("; the request has {:.1f} MB", static_cast<double>(nBodyBytes) / 1e6);
  }
  return strText + ".";
}

Failure FailureOfStatus(const HttpResponse& objResponse) {
  Failure objFailure;
  const int nStatus = objResponse.nStatus;
  objFailure.nHttpStatus = nStatus;
  if (nStatus == 429 || nStatus == 503) objFailure.nBackOff = RetryAfter(objResponse);
  objFailure.bOutage = RowOf(nStatus).bOutage;
  objFailure.bForeign = RowOf(nStatus).bForeign;
  objFailure.bMayBeCarriedOut = nStatus >= 500 && !objFailure.nBackOff;
  return objFailure;
}

}  // namespace ews
