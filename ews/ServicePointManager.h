#pragma once

#include <cstdint>

namespace ews {

// Bits of ServicePointManager::SecurityProtocol. The TLS library here has no SSL 3: its bits are
// carried and have no effect.
enum SecurityProtocolType : std::uint32_t {
  kSsl3 = 0x0030,
  kTls = 0x00C0,
  kTls11 = 0x0300,
  kTls12 = 0x0C00,
};

// Network settings of the process.
class ServicePointManager {
 public:
  // Called with what a check of the server's certificate knows; true accepts the certificate.
  using CertificateCallback = bool (*)(const void* rObjectSender, const void* rX509Certificate,
                                       const void* rX509Chain, int rErrors);

  static std::uint32_t SecurityProtocol() { return s_nProtocols; }
  static void SetSecurityProtocol(std::uint32_t nProtocols) { s_nProtocols = nProtocols; }
  static void SetServerCertificateValidationCallback(CertificateCallback pCallback) {
    s_pCallback = pCallback;
  }
  // True unless the settings ask for verification or the callback refuses.
  static bool AcceptsEveryCertificate();

 private:
  static inline std::uint32_t s_nProtocols = kSsl3 | kTls | kTls11 | kTls12;
  static inline CertificateCallback s_pCallback = nullptr;
};

}  // namespace ews

class CMyClass {
 public:
  // Accepts every certificate. Verification, where the settings ask for it, stands above this.
  static bool AcceptingCertificate(const void* rObjectSender, const void* rX509Certificate,
                                   const void* rX509Chain, int rErrors);
};
