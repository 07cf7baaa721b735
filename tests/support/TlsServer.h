#pragma once

#include <memory>
#include <string>

namespace test_support {

// An HTTPS server on loopback with a certificate for 127.0.0.1 that signs itself. It answers every
// POST with one body. It ends with the object.
class TlsServer {
 public:
  enum class Highest { kTls10, kTls11, kTls13 };  // version of TLS; TLS 1.0 is always the lowest

  TlsServer(Highest highest, std::string answer);
  ~TlsServer();
  TlsServer(const TlsServer&) = delete;
  TlsServer& operator=(const TlsServer&) = delete;

  // Says the end of TLS on every connection so far, as a server does with an idle one.
  void EndConnections();
  std::string Url(const std::string& host = "127.0.0.1") const;
  void WriteCertificate(const std::string& path) const;  // PEM

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace test_support
