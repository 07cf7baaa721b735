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

// An answer that cannot be unpacked, be it that it was broken on the way.
constexpr auto kBroken = std::to_array<CURLcode>({CURLE_BAD_CONTENT_ENCODING, CURLE_WRITE_ERROR});

template <size_t n>
bool IsAmong(const std::array<CURLcode, n>& arrCodes, CURLcode eCode) {
  return std::find(arrCodes.begin(), arrCodes.end(), eCode) != arrCodes.end();
}

bool HasEnded(const TransferEnd& objEnd) {
  return objEnd.eCode == CURLE_GOT_NOTHING ||
         (objEnd.eCode == CURLE_RECV_ERROR && !objEnd.bAnswered) ||
         objEnd.eCode == CURLE_SEND_FAIL_REWIND;
}

std::string TextOf(const HttpRequest& objRequest, const TransferEnd& objEnd) {
  const std::string strHost = HostForMessage(objRequest.strUrl);
  if (objEnd.bTooLarge) return fmt::format("The answer of {} is too large.", strHost);
  if (objEnd.nStalled.count() > 0) {
    return fmt::format("The connection to {} moved no byte for {}.", strHost,
                       InSeconds(objEnd.nStalled));
  }
  if (objEnd.bStopped) {
    return fmt::format("The server {} had given no answer when the end was asked for.", strHost);
  }
  if (HasEnded(objEnd) && objEnd.bBodyOut) {
    return fmt::format("The server {} closed the connection without an answer.", strHost);
  }
  if (objEnd.eCode == CURLE_OPERATION_TIMEDOUT && !objEnd.bConnected) {
    return fmt::format("The server {} could not be reached within {}.", strHost,
                       InSeconds(std::min(objRequest.nTimeout, objEnd.nConnectLimit)));
  }
  if (objEnd.eCode == CURLE_OPERATION_TIMEDOUT) {
    return fmt::format("The server {} did not answer within the time-out of {}.", strHost,
                       InSeconds(objRequest.nTimeout));
  }
  return fmt::format(
      "The connection to {} failed: {}.", strHost,
      objEnd.strDetail.empty() ? curl_easy_strerror(objEnd.eCode) : objEnd.strDetail);
}

// A request that is still going out when its time is up is too large for this line, not lost.
bool IsOutage(const TransferEnd& objEnd) {
  if (objEnd.bTooLarge || objEnd.nProxyStatus / 100 == 4) return false;
  if (objEnd.nStalled.count() > 0 || objEnd.bStopped) return true;
  if (objEnd.eCode == CURLE_OPERATION_TIMEDOUT) return !objEnd.bConnected || objEnd.bBodyOut;
  return !IsAmong(kFinal, objEnd.eCode);
}

}  // namespace

std::string InSeconds(std::chrono::milliseconds nTime) {
  return fmt::format("{:g} s", static_cast<double>(nTime.count()) / 1000);
}

ServiceException NetworkFailure(const HttpRequest& objRequest, const TransferEnd& objEnd) {
  Failure objFailure;
  objFailure.bOutage = IsOutage(objEnd);
  objFailure.bMayBeCarriedOut = objEnd.bBodyOut;
  objFailure.bCutInBody = objEnd.bBodyBegun && !objEnd.bBodyOut && !objEnd.bStopped;
  objFailure.bMayPass = IsAmong(kBroken, objEnd.eCode) && !objEnd.bTooLarge;
  std::string strText = "The request failed. " + TextOf(objRequest, objEnd);
  if (objRequest.bSendOnce && objEnd.bBodyOut) strText = WithOpenOutcome(std::move(strText), "It");
  return ServiceException(strText, objFailure);
}

}  // namespace ews
