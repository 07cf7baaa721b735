#include "ews/ServiceException.h"

#include <algorithm>

namespace ews {

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

// A number of seconds or minutes stands behind it.
bool SaysWaitedFor(std::string_view strText) {
  const size_t nAt = strText.rfind(kWaitedFor);
  if (nAt == std::string_view::npos) return false;
  strText.remove_prefix(nAt + std::string_view(kWaitedFor).size());
  const size_t nDigits = std::min(strText.find_first_not_of("0123456789"), strText.size());
  strText.remove_prefix(nDigits);
  return nDigits > 0 && (strText == " s" || strText == " min");
}

bool SaysLogonRefused(std::string_view strText) {
  return strText.ends_with(std::string(": ") + kLogonRefused + ".");
}

std::string WithLogonRefused(std::string strText) {
  return WithoutStop(std::move(strText)) + ": " + kLogonRefused + ".";
}

}  // namespace ews
