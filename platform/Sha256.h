#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace platform {

// SHA-256 in pieces; Hex() ends it: 64 lower-case hexadecimal digits.
class Sha256 {
 public:
  Sha256();
  ~Sha256();
  void Update(std::string_view strBytes);
  std::string Hex();

 private:
  struct Context;
  std::unique_ptr<Context> m_pContext;
};

std::string Sha256Hex(std::string_view strBytes);

}  // namespace platform
