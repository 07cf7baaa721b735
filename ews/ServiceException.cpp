#include "ews/ServiceException.h"

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

std::string WithLogonRefused(std::string strText) {
  return WithoutStop(std::move(strText)) + ": " + kLogonRefused + ".";
}

}  // namespace ews
