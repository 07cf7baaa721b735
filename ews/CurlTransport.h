#pragma once

#include <memory>

#include "ews/EwsTransport.h"

namespace ews {

// Sends requests with libcurl. One handle lives as long as the transport and keeps its connections,
// so that a rebuilt service means no new TLS handshake. Requests carry a Content-Length and wait
// for no "100 Continue"; answers may be compressed. The settings of ews/Settings.h apply to each
// request.
//
// A user name goes out as Basic. A server that refuses it with 401 and offers NTLM and no Basic is
// asked again, and from then on, with libcurl's NTLM handshake, which goes out with an empty body
// until the server has accepted it once on a connection. It takes names and
// passwords of Latin-1 characters; others are not proved right.
class CurlTransport : public EwsTransport {
 public:
  CurlTransport();
  ~CurlTransport() override;
  CurlTransport(const CurlTransport&) = delete;
  CurlTransport& operator=(const CurlTransport&) = delete;

 private:
  enum class Login { kHeader, kNtlm };

  HttpResponse DoSend(const HttpRequest& objRequest) override;
  HttpResponse Exchange(const HttpRequest& objRequest, Login eLogin);

  struct Impl;
  std::unique_ptr<Impl> m_pImpl;
};

}  // namespace ews
