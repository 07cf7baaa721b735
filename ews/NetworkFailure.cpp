#include "ews/NetworkFailure.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "ews/Url.h"

namespace ews {
namespace {

// What does not pass by waiting: certificates, addresses, this machine.
constexpr auto kFinal = std::to_array<CURLcode>({
    CURLE_UNSUPPORTED_PROTOCOL,
    CURLE_FAILED_INIT,
    CURLE_URL_MALFORMAT,
    CURLE_NOT_BUILT_IN,
    CURLE_OUT_OF_MEMORY,
    CURLE_SSL_ENGINE_NOTFOUND,
    CURLE_SSL_CERTPROBLEM,
    CURLE_SSL_CIPHER,
    CURLE_PEER_FAILED_VERIFICATION,
    CURLE_BAD_CONTENT_ENCODING,
    CURLE_WRITE_ERROR,
    CURLE_SSL_CACERT_BADFILE,
    CURLE_SSL_ISSUER_ERROR,
    CURLE_SSL_PINNEDPUBKEYNOTMATCH,
});

bool HasEnded(const TransferEnd& objEnd) {
  return objEnd.eCode == CURLE_GOT_NOTHING ||
         (objEnd.eCode == CURLE_RECV_ERROR && !objEnd.bAnswered) ||
         objEnd.eCode == CURLE_SEND_FAIL_REWIND;
}

std::string TextOf(const HttpRequest& objRequest, const TransferEnd& objEnd) {
  const std::string strHost = HostForMessage(objRequest.strUrl);
  if (objEnd.bTooLarge) return fmt::format("The answer of {} is too large.", strHost);
  if (objEnd.nStalled.count() > 0) {
    return fmt::format("The connection to {} moved no byte for {} s.", strHost,
                       objEnd.nStalled.count() / 1000);
  }
  if (HasEnded(objEnd) && objEnd.bBodyOut) {
    return fmt::format("The server {} closed the connection without an answer.", strHost);
  }
  if (objEnd.eCode == CURLE_OPERATION_TIMEDOUT && !objEnd.bConnected) {
    return fmt::format("The server {} could not be reached within {} ms.", strHost,
                       std::min(objRequest.nTimeout, objEnd.nConnectLimit).count());
  }
  if (objEnd.eCode == CURLE_OPERATION_TIMEDOUT) {
    return fmt::format("The server {} did not answer within the time-out of {} ms.", strHost,
                       objRequest.nTimeout.count());
  }
  return fmt::format(
      "The connection to {} failed: {}.", strHost,
      objEnd.strDetail.empty() ? curl_easy_strerror(objEnd.eCode) : objEnd.strDetail);
}

// A request that is still going out when its time is up is too large for this line, not lost.
bool IsOutage(const TransferEnd& objEnd) {
  if (objEnd.bTooLarge || objEnd.nProxyStatus / 100 == 4) return false;
  if (objEnd.nStalled.count() > 0) return true;
  if (objEnd.eCode == CURLE_OPERATION_TIMEDOUT) return !objEnd.bConnected || objEnd.bBodyOut;
  return std::find(kFinal.begin(), kFinal.end(), objEnd.eCode) == kFinal.end();
}

}  // namespace

ServiceException NetworkFailure(const HttpRequest& objRequest, const TransferEnd& objEnd) {
  Failure objFailure;
  objFailure.bOutage = IsOutage(objEnd);
  objFailure.bMayBeCarriedOut = objEnd.bBodyOut;
  objFailure.bCutInBody = objEnd.bBodyBegun && !objEnd.bBodyOut;
  std::string strText = "The request failed. " + TextOf(objRequest, objEnd);
  if (objRequest.bSendOnce && objEnd.bBodyOut) strText = WithOpenOutcome(std::move(strText), "It");
  return ServiceException(strText, objFailure);
}

}  // namespace ews
