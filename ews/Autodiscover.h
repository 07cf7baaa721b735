#pragma once

#include "ews/ExchangeService.h"

// Finds the endpoint for a mail address. These addresses are asked in this order, until one answers
// with an endpoint:
//
//   1. the one from the settings, if there is one
//   2. https://DOMAIN/autodiscover/autodiscover.xml
//   3. https://autodiscover.DOMAIN/autodiscover/autodiscover.xml
//   4. where http://autodiscover.DOMAIN/autodiscover/autodiscover.xml redirects to; that request
//      carries no credentials
//   5. the servers that the name service gives for _autodiscover._tcp.DOMAIN, three at most
//
// Each has 10 s for all of its requests, and no more than the time-out.
//
// An answer may send on to another mail address or another URL, kMaxRedirects times in all.
//
// While certificates are verified, credentials go only to https hosts of the address's domain, to
// the trusted hosts of the settings, to the hosts of addresses that the settings name, and to the
// public service's own; an answer that names an endpoint elsewhere is refused by name.
namespace ews {

// Returns the endpoint. Throws ServiceException with the reason of the attempt that came
// furthest, and that of the last one.
CString DiscoverEndpoint(const CString& strAddress, const Credentials& objCredentials, int nTimeout,
                         const RedirectionCallback& fnCallback);

}  // namespace ews

class Device {
 public:
  // Lets every redirection be followed.
  static bool RedirectionUrlValidationCallback(const CString& redirectionUrl);
  static inline bool m_redirectionValidated = true;
};
