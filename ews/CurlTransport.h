#pragma once

#include <memory>

#include "ews/EwsTransport.h"

namespace ews {

// Sends requests with libcurl. One handle lives as long as the transport and keeps its connections,
// so that a rebuilt service means no new TLS handshake. Requests carry a Content-Length and wait
// for no "100 Continue"; answers may be compressed. The settings of ews/Settings.h apply to each
// request.
class CurlTransport : public EwsTransport {
 public:
  CurlTransport();
  ~CurlTransport() override;
  CurlTransport(const CurlTransport&) = delete;
  CurlTransport& operator=(const CurlTransport&) = delete;

 private:
  HttpResponse DoSend(const HttpRequest& objRequest) override;

  struct Impl;
  std::unique_ptr<Impl> m_pImpl;
};

}  // namespace ews
