#pragma once

#include <chrono>
#include <memory>

#include "ews/EwsTransport.h"

namespace ews {

enum class Handshake;

// Sends requests with libcurl. One handle lives as long as the transport and keeps its connections,
// so that a rebuilt service means no new TLS handshake. Requests carry a Content-Length and wait
// for no "100 Continue"; answers may be compressed. The settings of ews/Settings.h apply to each
// request. A kept connection that has ended is replaced before a request is written into it. With
// the safe switch, one that loses a request that cannot have been carried out, or answers it with a
// 400 that is none of the service's, is replaced and the request sent once more.
//
// A user name goes out as Basic. A server that refuses it with 401 and offers no Basic is asked
// again, and from then on, with a handshake that it offers (ews/Handshake.h).
class CurlTransport : public EwsTransport {
 public:
  // With the safe switch, what becomes of a connection that moves no byte, whatever the time-out of
  // the request. It is looked at about once a second.
  struct Silence {
    std::chrono::milliseconds nTold{15000};  // then a line is told (Settings().fnTellWait)
    // Then it counts as lost; earlier, but not before nLeast, where the patience is over.
    std::chrono::milliseconds nLost{120000};
    std::chrono::milliseconds nLeast{10000};
    std::chrono::milliseconds nStop{3000};  // then a wish to end (fnStopAsked) is heard
  };
  CurlTransport() : CurlTransport(Silence{}) {}
  explicit CurlTransport(const Silence& objSilence);
  ~CurlTransport() override;
  CurlTransport(const CurlTransport&) = delete;
  CurlTransport& operator=(const CurlTransport&) = delete;

 private:
  HttpResponse DoSend(const HttpRequest& objRequest) override;
  HttpResponse Exchange(const HttpRequest& objRequest, Handshake eHandshake);
  Silence SilenceFor(const HttpRequest& objRequest);

  struct Impl;
  std::unique_ptr<Impl> m_pImpl;
};

}  // namespace ews
