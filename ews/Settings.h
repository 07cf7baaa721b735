#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CString.h"

namespace ews {

// What the command line says about the service, for the whole process. The engine fills it before
// its first command.
struct ServiceSettings {
  // The endpoint. Empty: the public one in the token route, autodiscovery in the password route.
  CString strEwsUrl;
  CString strAutodiscoverUrl;  // tried before the addresses that follow from the mail address
  CString strAuthorityUrl = u"https://login.microsoftonline.com";
  CString strGraphUrl = u"https://graph.microsoft.com";
  // Off: every certificate is accepted, TLS 1.0 and up. On: certificates are checked, TLS 1.2 and
  // up, and autodiscovery gives credentials to trusted hosts alone (ews/Autodiscover.h).
  bool bVerifyCertificates = false;
  CString strCaFile;  // PEM; empty means the system's certificates
  std::vector<CString> arrTrustHosts;
  // The file of the local store that items go into in place of a server's mailbox; empty for none.
  CString strStore;
  // The way to every host but this machine, http or https without a user name; empty for none.
  CString strProxy;
  // The mailbox server's address was tried and is right: who knows nothing of mailboxes there
  // stands in for it, from the first request on. With bSafe alone.
  bool bKnownServer = false;
  bool bTokenCache = false;  // answer from a cache while a token has over five minutes left
  // On: the ledger binds its values, 29 February stays what it is, attachment lists take nothing
  // from outside the work folder, a folder that the server refuses to make is looked up once more,
  // an image page is kept for the second try of its mail, a mail whose EmlFile.Eml cannot be read
  // fails, ItemProps.json is read, outages are waited out, a refused logon is renewed once, and a
  // folder that could not be made is tried again.
  bool bSafe = false;
  // How long an outage is waited out (ews/Outage.h), with bSafe alone; 0 for not at all.
  std::chrono::seconds nPatience{0};
  // Gets a line of text, UTF-8 without its end, for each wait of an outage, for its end, and for a
  // request in which nothing moves.
  std::function<void(const std::string& strLine)> fnTellWait;
  // True once the process was asked to end: waits are cut short then, and with bSafe so are
  // requests in which nothing moves. None: never.
  std::function<bool()> fnStopAsked;

  // strEwsUrl, or the public endpoint where that is empty.
  CString TokenRouteUrl() const;
  // True for a host among arrTrustHosts, in any case.
  bool TrustsHost(std::string_view strHost) const;
};

ServiceSettings& Settings();

}  // namespace ews
