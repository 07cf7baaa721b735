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

// What a status says where no SOAP comes with it.
enum : unsigned {
  kOutage = 1,
  kNamesSize = 2,  // a refusal of what is large
  kForeign = 4,    // no mailbox service says so
  kRefused = 8,    // said of what nobody has looked into, be it out whole
};

struct StatusRow {
  int nStatus;
  std::string_view strText;  // may be empty
  unsigned nSays = 0;
};

constexpr auto kStatuses = std::to_array<StatusRow>({
    {400, "Bad Request"},
    {401, "Unauthorized: the user name, the password or the token was refused", kRefused},
    {403, "Forbidden: this user may not do that"},
    {404, "Not Found: there is no mailbox service at this address", kForeign},
    {405, "Method Not Allowed", kNamesSize | kForeign | kRefused},
    {407, "Proxy Authentication Required", kRefused},
    {408, "Request Timeout", kOutage},
    {411, "Length Required", kNamesSize | kRefused},
    {413, "Content Too Large", kNamesSize | kRefused},
    {414, "URI Too Long", kRefused},
    {415, "Unsupported Media Type", kRefused},
    {417, "Expectation Failed", kRefused},
    {421, "Misdirected Request", kRefused},
    {426, "Upgrade Required", kRefused},
    {429, "Too Many Requests: the server is throttling", kOutage | kRefused},
    {431, "Request Header Fields Too Large", kRefused},
    {500, "Internal Server Error", kOutage},
    {502, "Bad Gateway", kOutage},
    {503, "Service Unavailable", kOutage},
    {504, "Gateway Timeout", kOutage},
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

std::string SizeForMessage(std::uint64_t nBytes) {
  const auto dBytes = static_cast<double>(nBytes);
  return nBytes < 1'000'000 ? fmt::format("{:.0f} KB", std::max(dBytes / 1e3, 1.0))
                            : fmt::format("{:.1f} MB", dBytes / 1e6);
}

std::string HttpFailureText(const std::string& strUrl, const HttpResponse& objResponse,
                            std::uint64_t nBodyBytes) {
  const StatusRow objRow = RowOf(objResponse.nStatus);
  std::string strText = fmt::format("The request failed. The server {} answered HTTP {}",
                                    HostForMessage(strUrl), objResponse.nStatus);
  if (!objRow.strText.empty()) strText += fmt::format(" ({})", objRow.strText);
  if ((objRow.nSays & kNamesSize) && nBodyBytes > 0) {
    strText += "; the request has " + SizeForMessage(nBodyBytes);
  }
  return strText + ".";
}

Failure FailureOfStatus(const HttpResponse& objResponse) {
  Failure objFailure;
  const int nStatus = objResponse.nStatus;
  objFailure.nHttpStatus = nStatus;
  if (nStatus == 429 || nStatus == 503) objFailure.nBackOff = RetryAfter(objResponse);
  const unsigned nSays = RowOf(nStatus).nSays;
  objFailure.bOutage = (nSays & kOutage) != 0;
  objFailure.bForeign = (nSays & kForeign) != 0;
  objFailure.bMayBeCarriedOut = nStatus >= 500 && !objFailure.nBackOff;
  return objFailure;
}

bool LeavesOutcomeOpen(const HttpResponse& objResponse) {
  return objResponse.bBehindBody && !(RowOf(objResponse.nStatus).nSays & kRefused);
}

}  // namespace ews
