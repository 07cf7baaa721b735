#include "archive/Uuid.h"

#include <array>
#include <random>

namespace mail {

std::string newUuid() {
  std::random_device objRandom;
  std::array<unsigned char, 16> arrBytes{};
  for (std::size_t n = 0; n < arrBytes.size(); n += 4) {
    const unsigned nValue = objRandom();
    for (std::size_t k = 0; k < 4; ++k) {
      arrBytes[n + k] = static_cast<unsigned char>(nValue >> (8 * k));
    }
  }
  arrBytes[6] = static_cast<unsigned char>((arrBytes[6] & 0x0F) | 0x40);  // version 4
  arrBytes[8] = static_cast<unsigned char>((arrBytes[8] & 0x3F) | 0x80);  // variant 10
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string strUuid;
  for (std::size_t n = 0; n < arrBytes.size(); ++n) {
    if (n == 4 || n == 6 || n == 8 || n == 10) strUuid += '-';
    strUuid += kDigits[arrBytes[n] >> 4];
    strUuid += kDigits[arrBytes[n] & 0x0F];
  }
  return strUuid;
}

}  // namespace mail
