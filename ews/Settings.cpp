#include "ews/Settings.h"

#include <algorithm>

#include "ews/Url.h"

namespace ews {

CString ServiceSettings::TokenRouteUrl() const {
  return strEwsUrl.IsEmpty() ? CString(u"https://outlook.office365.com/EWS/Exchange.asmx")
                             : strEwsUrl;
}

bool ServiceSettings::TrustsHost(std::string_view strHost) const {
  return std::any_of(arrTrustHosts.begin(), arrTrustHosts.end(),
                     [&](const CString& str) { return EqualHost(str.ToUtf8(), strHost); });
}

ServiceSettings& Settings() {
  static ServiceSettings objSettings;
  return objSettings;
}

}  // namespace ews
