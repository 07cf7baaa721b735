#pragma once

#include <chrono>
#include <string>

#include <curl/curl.h>

#include "ews/EwsTransport.h"
#include "ews/ServiceException.h"

namespace ews {

// How far a transfer came that failed.
struct TransferEnd {
  CURLcode eCode = CURLE_OK;
  std::string strDetail;  // libcurl's words, or empty
  bool bConnected = false;
  bool bBodyBegun = false;
  bool bBodyOut = false;   // all of the request may have arrived
  bool bAnswered = false;  // an answer had begun
  bool bTooLarge = false;  // the answer
  int nProxyStatus = 0;    // what a proxy answered to the wish for a tunnel; 0 for none
  std::chrono::milliseconds nStalled{0};  // no byte moved for so long; 0 if that was no reason
  bool bStopped = false;                  // given up because the process is to end
  std::chrono::milliseconds nConnectLimit{0};
};

// "The request failed. …" for a request that got no whole answer.
ServiceException NetworkFailure(const HttpRequest& objRequest, const TransferEnd& objEnd);

// "100 s", for people.
std::string InSeconds(std::chrono::milliseconds nTime);

}  // namespace ews
