#include "tests/support/TlsServer.h"

#include <cstdio>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <vector>

#include <httplib.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include "tests/support/LoopbackThread.h"

namespace test_support {
namespace {

template <typename Object, void (*Free)(Object*)>
struct Freer {
  void operator()(Object* p) const { Free(p); }
};
using Certificate = std::unique_ptr<X509, Freer<X509, X509_free>>;
using Connection = std::unique_ptr<SSL, Freer<SSL, SSL_free>>;
using PrivateKey = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY, EVP_PKEY_free>>;

// A certificate for 127.0.0.1 that signs itself.
Certificate MakeCertificate(EVP_PKEY* key) {
  Certificate certificate(X509_new());
  X509_set_version(certificate.get(), 2);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
  X509_set_pubkey(certificate.get(), key);
  X509_NAME* name = X509_get_subject_name(certificate.get());
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>("test"), -1, -1, 0);
  X509_set_issuer_name(certificate.get(), name);
  X509_EXTENSION* extension =
      X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1");
  X509_add_ext(certificate.get(), extension, -1);
  X509_EXTENSION_free(extension);
  X509_sign(certificate.get(), key, EVP_sha256());
  return certificate;
}

int VersionNumber(TlsServer::Highest highest) {
  switch (highest) {
    case TlsServer::Highest::kTls10:
      return TLS1_VERSION;
    case TlsServer::Highest::kTls11:
      return TLS1_1_VERSION;
    case TlsServer::Highest::kTls13:
      return TLS1_3_VERSION;
  }
  return 0;
}

}  // namespace

struct TlsServer::Impl {
  explicit Impl(int version)
      : server([this, version](SSL_CTX& context) {
          SSL_CTX_set_security_level(&context, 0);
          SSL_CTX_set_cipher_list(&context, "ALL:@SECLEVEL=0");
          SSL_CTX_set_min_proto_version(&context, TLS1_VERSION);
          SSL_CTX_set_max_proto_version(&context, version);
          SSL_CTX_set_app_data(&context, this);
          SSL_CTX_set_info_callback(&context, &Impl::OnState);
          return SSL_CTX_use_certificate(&context, certificate.get()) == 1 &&
                 SSL_CTX_use_PrivateKey(&context, key.get()) == 1;
        }) {}

  static void OnState(const SSL* ssl, int where, int) {
    if ((where & SSL_CB_HANDSHAKE_DONE) == 0) return;
    auto* self = static_cast<Impl*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(ssl)));
    auto* connection = const_cast<SSL*>(ssl);
    SSL_up_ref(connection);
    const std::lock_guard lock(self->mutex);
    self->connections.emplace_back(connection);
  }

  std::mutex mutex;
  std::vector<Connection> connections;
  PrivateKey key{EVP_RSA_gen(2048)};
  Certificate certificate = MakeCertificate(key.get());
  httplib::SSLServer server;
  std::optional<LoopbackThread> thread;  // goes first
};

TlsServer::TlsServer(Highest highest, std::string answer)
    : m_impl(std::make_unique<Impl>(VersionNumber(highest))) {
  m_impl->server.Post(
      ".*", [body = std::move(answer)](const httplib::Request&, httplib::Response& response) {
        response.set_content(body, "text/xml");
      });
  m_impl->thread.emplace(m_impl->server);
}

TlsServer::~TlsServer() = default;

void TlsServer::EndConnections() {
  const std::lock_guard lock(m_impl->mutex);
  for (const Connection& connection : m_impl->connections) SSL_shutdown(connection.get());
  m_impl->connections.clear();
}

std::string TlsServer::Url(const std::string& host) const {
  return "https://" + host + ":" + std::to_string(m_impl->thread->Port()) + "/EWS/Exchange.asmx";
}

void TlsServer::WriteCertificate(const std::string& path) const {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "w"), &std::fclose);
  if (!file || PEM_write_X509(file.get(), m_impl->certificate.get()) != 1) {
    throw std::runtime_error("the certificate cannot be written");
  }
}

}  // namespace test_support
