#include "ews/ServiceException.h"

#include <charconv>

namespace ews {
namespace {

bool DropText(std::string_view& strText, std::string_view strEnd) {
  if (!strText.ends_with(strEnd)) return false;
  strText.remove_suffix(strEnd.size());
  return true;
}

// Takes a number of seconds or minutes off the end, where there is one.
bool DropDuration(std::string_view& strText) {
  if (!DropText(strText, " s") && !DropText(strText, " min")) return false;
  const size_t nLast = strText.find_last_not_of("0123456789");
  const size_t nKept = nLast == std::string_view::npos ? 0 : nLast + 1;
  const bool bNumber = nKept < strText.size();
  strText = strText.substr(0, nKept);
  return bNumber;
}

// Takes what WithOutage adds off the end, where it is there.
std::optional<std::chrono::seconds> DropOutage(std::string_view& strText) {
  std::string_view strLeft = strText;
  if (!DropText(strLeft, ".")) return std::nullopt;
  std::chrono::seconds nAsked{0};
  if (!DropText(strLeft, kOutOfOrder)) {
    const size_t nAt = strLeft.rfind(kServerAsksFor);
    if (nAt == std::string_view::npos) return std::nullopt;
    std::string_view strTime = strLeft.substr(nAt + std::string_view(kServerAsksFor).size());
    if (!DropText(strTime, " s")) return std::nullopt;
    long long nSeconds = 0;
    const char* pEnd = strTime.data() + strTime.size();
    const auto objRead = std::from_chars(strTime.data(), pEnd, nSeconds);
    if (objRead.ec != std::errc() || objRead.ptr != pEnd || nSeconds < 1) return std::nullopt;
    nAsked = std::chrono::seconds(nSeconds);
    strLeft = strLeft.substr(0, nAt);
  }
  strText = strLeft;
  return nAsked;
}

}  // namespace

std::string WithoutStop(std::string strText) {
  while (!strText.empty() && (strText.back() == '.' || strText.back() == ' ')) strText.pop_back();
  return strText;
}

std::string WithOpenOutcome(std::string strText, const char* pszSubject) {
  return WithoutStop(std::move(strText)) + ". " + pszSubject + " " + kMayBeCarriedOut + ".";
}

std::string WithoutOpenOutcome(std::string strText) {
  if (std::string_view strLeft = strText; DropOutage(strLeft)) {
    strText = std::string(strLeft) + ".";
  }
  const size_t nAt = strText.rfind(kMayBeCarriedOut);
  if (nAt == std::string::npos) return strText;
  const size_t nStop = strText.rfind(". ", nAt);
  return nStop == std::string::npos ? std::string() : strText.substr(0, nStop + 1);
}

std::string WithOutage(std::string strText,
                       const std::optional<std::chrono::milliseconds>& nBackOff) {
  const std::string strEnd =
      nBackOff ? kServerAsksFor + std::to_string((nBackOff->count() + 999) / 1000) + " s"
               : kOutOfOrder;
  return WithoutStop(std::move(strText)) + strEnd + ".";
}

std::optional<std::chrono::seconds> OutageIn(std::string_view strText) {
  return DropOutage(strText);
}

bool SaysOpenOutcome(std::string_view strText) {
  if (DropOutage(strText)) return strText.ends_with(kMayBeCarriedOut);
  return strText.ends_with(std::string(kMayBeCarriedOut) + ".");
}

bool SaysGivenUp(std::string_view strText) {
  if (strText.ends_with(kAskedToStop)) return true;
  if (DropText(strText, kOfPatience)) {
    return DropDuration(strText) && DropText(strText, kMoreThan) && DropDuration(strText) &&
           strText.ends_with(kServerAsksFor);
  }
  return DropDuration(strText) && strText.ends_with(kWaitedFor);
}

bool SaysLogonRefused(std::string_view strText) {
  return strText.ends_with(std::string(": ") + kLogonRefused + ".");
}

std::string WithLogonRefused(std::string strText) {
  return WithoutStop(std::move(strText)) + ": " + kLogonRefused + ".";
}

}  // namespace ews
