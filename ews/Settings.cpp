#include "ews/Settings.h"

namespace ews {

CString ServiceSettings::TokenRouteUrl() const {
  return strEwsUrl.IsEmpty() ? CString(u"https://outlook.office365.com/EWS/Exchange.asmx")
                             : strEwsUrl;
}

ServiceSettings& Settings() {
  static ServiceSettings objSettings;
  return objSettings;
}

}  // namespace ews
