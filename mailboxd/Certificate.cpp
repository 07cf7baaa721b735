#include "mailboxd/Certificate.h"

#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace mailbox {
namespace {

constexpr long kTenYears = 3652L * 24 * 60 * 60;  // seconds

template <auto Free>
struct Deleter {
  template <typename T>
  void operator()(T* p) const {
    Free(p);
  }
};
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using X509Ptr = std::unique_ptr<X509, Deleter<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Deleter<X509_EXTENSION_free>>;
using Big = std::unique_ptr<BIGNUM, Deleter<BN_free>>;
using FilePtr = std::unique_ptr<std::FILE, Deleter<std::fclose>>;

void Require(bool ok, const char* what) {
  if (!ok) throw std::runtime_error(std::string("the certificate cannot be made: ") + what);
}

void AddExtension(X509* certificate, int kind, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value));
  Require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "extension");
}

X509Ptr MakeCertificate(EVP_PKEY* key) {
  X509Ptr certificate(X509_new());
  Require(certificate != nullptr, "memory");
  X509* x = certificate.get();
  X509_set_version(x, X509_VERSION_3);
  const Big serial(BN_new());
  Require(serial && BN_rand(serial.get(), 127, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) == 1, "serial");
  BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(x));
  X509_gmtime_adj(X509_getm_notBefore(x), -24L * 60 * 60);  // for a clock that is behind
  X509_gmtime_adj(X509_getm_notAfter(x), kTenYears);
  X509_set_pubkey(x, key);
  X509_NAME* name = X509_get_subject_name(x);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>("mailboxd on localhost"), -1,
                             -1, 0);
  X509_set_issuer_name(x, name);
  AddExtension(x, NID_basic_constraints, "critical,CA:TRUE");
  AddExtension(x, NID_key_usage, "critical,digitalSignature,keyCertSign");
  AddExtension(x, NID_ext_key_usage, "serverAuth");
  AddExtension(x, NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1");
  AddExtension(x, NID_subject_key_identifier, "hash");
  Require(X509_sign(x, key, EVP_sha256()) > 0, "signature");
  return certificate;
}

// Written beside and renamed, so that a file that is there is whole.
template <typename Write>
void WritePem(const std::string& path, Write write) {
  const std::string fresh = path + ".new";
  {
    const FilePtr file(std::fopen(fresh.c_str(), "wb"));
    Require(file != nullptr, fresh.c_str());
    Require(write(file.get()) == 1 && std::fflush(file.get()) == 0, fresh.c_str());
  }
  std::filesystem::rename(fresh, path);
}

}  // namespace

Certificate EnsureCertificate(const std::string& folder) {
  Certificate files{folder + "/certificate.pem", folder + "/key.pem"};
  if (std::filesystem::exists(files.certificateFile) && std::filesystem::exists(files.keyFile)) {
    return files;
  }
  const Key key(EVP_EC_gen("P-256"));
  Require(key != nullptr, "key");
  const X509Ptr certificate = MakeCertificate(key.get());
  WritePem(files.keyFile, [&](std::FILE* file) {
    return PEM_write_PrivateKey(file, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  });
  WritePem(files.certificateFile,
           [&](std::FILE* file) { return PEM_write_X509(file, certificate.get()); });
  return files;
}

}  // namespace mailbox
