#include "ews/ServiceException.h"

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

}  // namespace

std::string WithoutStop(std::string strText) {
  while (!strText.empty() && (strText.back() == '.' || strText.back() == ' ')) strText.pop_back();
  return strText;
}

std::string WithOpenOutcome(std::string strText, const char* pszSubject) {
  return WithoutStop(std::move(strText)) + ". " + pszSubject + " " + kMayBeCarriedOut + ".";
}

std::string WithoutOpenOutcome(std::string strText) {
  const size_t nAt = strText.rfind(kMayBeCarriedOut);
  if (nAt == std::string::npos) return strText;
  const size_t nStop = strText.rfind(". ", nAt);
  return nStop == std::string::npos ? std::string() : strText.substr(0, nStop + 1);
}

bool SaysOpenOutcome(std::string_view strText) {
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
