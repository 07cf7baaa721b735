#include "platform/Sha256.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

namespace platform {

struct Sha256::Context {
  Context() : pDigest(EVP_MD_CTX_new(), &EVP_MD_CTX_free) {
    Check(pDigest && EVP_DigestInit_ex(pDigest.get(), EVP_sha256(), nullptr) == 1);
  }
  static void Check(bool bDone) {
    if (!bDone) throw std::runtime_error("SHA-256 is not available");
  }
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> pDigest;
};

Sha256::Sha256() : m_pContext(std::make_unique<Context>()) {}
Sha256::~Sha256() = default;

void Sha256::Update(std::string_view strBytes) {
  if (strBytes.empty()) return;  // what may be null then is no pointer for the library
  Context::Check(EVP_DigestUpdate(m_pContext->pDigest.get(), strBytes.data(), strBytes.size()) ==
                 1);
}

std::string Sha256::Hex() {
  std::array<unsigned char, 32> arrDigest{};
  Context::Check(EVP_DigestFinal_ex(m_pContext->pDigest.get(), arrDigest.data(), nullptr) == 1);
  constexpr char kDigits[] = "0123456789abcdef";
  std::string strHex;
  strHex.reserve(2 * arrDigest.size());
  for (const unsigned char ch : arrDigest) {
    strHex += kDigits[ch >> 4];
    strHex += kDigits[ch & 0x0F];
  }
  return strHex;
}

std::string Sha256Hex(std::string_view strBytes) {
  Sha256 objHash;
  objHash.Update(strBytes);
  return objHash.Hex();
}

}  // namespace platform
