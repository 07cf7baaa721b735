#pragma once

#include <string>
#include <vector>

#include <curl/curl.h>

#include "ews/Credentials.h"
#include "ews/EwsTransport.h"

// The ways in which a user logs on to a server that takes no Basic: libcurl makes the handshake, in
// which a request goes out more than once, mostly without its body, until the server knows who
// asks.
namespace ews {

enum class Handshake {
  kNone,
  kKerberos,  // offered as Negotiate; with a ticket of that user alone, never that of another
  kNtlm       // names and passwords of Latin-1 characters alone, names also in capitals
};

// What will do for a server that answered 401 to Basic, best first; none where it offers Basic, so
// that the password was refused, or nothing that is known. Throws ServiceException with
// kLogonRefused where a handshake is asked for that is not possible here, and says why: a wrong
// proof would count towards the locking of an account.
std::vector<Handshake> HandshakesFor(const HttpResponse& objRefusal, const WebCredentials& objUser,
                                     const std::string& strUrl);

void SetHandshake(CURL* pCurl, Handshake eHandshake, const WebCredentials& objUser);

}  // namespace ews
