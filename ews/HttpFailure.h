#pragma once

#include <string>

#include "ews/EwsTransport.h"
#include "ews/ServiceException.h"

namespace ews {

// "The request failed. …" with host and status, for an answer that is no success. nBodyBytes is the
// size of the request, named where a status says that it was too large for somebody on the way.
std::string HttpFailureText(const std::string& strUrl, const HttpResponse& objResponse,
                            std::uint64_t nBodyBytes = 0);

// "41.9 MB" or "3 KB".
std::string SizeForMessage(std::uint64_t nBytes);

// True of an answer without SOAP that may stand in for that of a server which did carry the request
// out: something on the way gives it. Those that refuse what nobody has looked into are none.
bool LeavesOutcomeOpen(const HttpResponse& objResponse);

// What an answer says by its status and its Retry-After, whatever stands in its body; none of it
// for a success.
Failure FailureOfStatus(const HttpResponse& objResponse);

}  // namespace ews
