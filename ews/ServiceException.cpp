#include "ews/ServiceException.h"

namespace ews {

std::string WithoutStop(std::string strText) {
  while (!strText.empty() && (strText.back() == '.' || strText.back() == ' ')) strText.pop_back();
  return strText;
}

std::string WithOpenOutcome(std::string strText, const char* pszSubject) {
  return WithoutStop(std::move(strText)) + ". " + pszSubject + " " + kMayBeCarriedOut + ".";
}

}  // namespace ews
